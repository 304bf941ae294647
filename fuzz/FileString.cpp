// QuillFileString against a model of plain strings, over sequences of operations.
//
// Input: bytes that choose operations, each followed by its operand where it has one: text up to the next NUL.
#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>

#include "fuzz/Fuzz.h"
#include "host/QuillFileString.h"

using fuzz::Require;

namespace {

using Model = std::optional<std::string>;

void Append(Model& model, const std::string& leaf) {
  if (leaf.empty()) return;
  if (!model || model->empty()) {
    model = leaf;
    return;
  }
  const std::size_t begin = leaf.find_first_not_of('/');
  if (begin == std::string::npos) return;
  while (model->ends_with('/')) model->pop_back();
  *model += '/' + leaf.substr(begin);
}

bool Trim(Model& model, Model* parent) {
  if (!model || model->empty()) return false;
  const std::size_t leafEnd = model->find_last_not_of('/');
  const std::size_t separator = leafEnd == std::string::npos ? leafEnd : model->rfind('/', leafEnd);
  if (separator == std::string::npos) {
    model = "";
    return false;
  }
  model->resize(separator);
  while (model->ends_with('/')) model->pop_back();
  if (model->empty()) model = "/";
  if (parent) *parent = model;
  return true;
}

/// Two strings and their models, since some operations take a second string.
struct State {
  std::array<QuillFileString, 2> strings;
  std::array<Model, 2> models;

  void Check() const {
    for (std::size_t i = 0; i < strings.size(); ++i) {
      const char* text = strings[i].getUTF8();
      Require(static_cast<bool>(text) == models[i].has_value());
      Require(!text || text == *models[i]);
      Require(strings[i].isEmpty() == (!models[i] || models[i]->empty()));
    }
  }
};

/// \p own shortens an operand that points into the string itself.
void Apply(State& state, unsigned operation, std::size_t own, const std::string& operand) {
  QuillFileString& string = state.strings[0];
  Model& model = state.models[0];
  const std::size_t skipped = model && !model->empty() ? own % model->size() : 0;
  const std::string tail = model ? model->substr(skipped) : "";
  switch (operation) {
    case 0:
      string.setUTF8(operand.c_str());
      model = operand;
      break;
    case 1:
      string.appendLeaf(operand.c_str());
      Append(model, operand);
      break;
    case 2:
      Require(string.trimLeaf(nullptr) == Trim(model, nullptr));
      break;
    case 3:
      Require(string.trimLeaf(&state.strings[1]) == Trim(model, &state.models[1]));
      break;
    case 4:
      Require(string.trimLeaf(&string) == Trim(model, nullptr));
      break;
    case 5:
      string.setUTF8(string.getUTF8() ? string.getUTF8() + skipped : nullptr);
      if (model) model = tail;
      break;
    case 6:
      string.appendLeaf(string.getUTF8() ? string.getUTF8() + skipped : nullptr);
      Append(model, tail);
      break;
    case 7:
      string.appendLeaf(state.strings[1]);
      Append(model, state.models[1].value_or(""));
      break;
    case 8:
      state.strings[1] = string;
      state.models[1] = model;
      break;
    case 9:
      std::swap(state.models[0], state.models[1]);
      std::swap(state.strings[0], state.strings[1]);
      break;
    default:
      string.freeAll();
      model.reset();
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr unsigned kOperations = 11;
  constexpr std::size_t kLongest = 1 << 12;  // a string that is appended to itself grows fast
  State state;
  for (std::string_view rest = fuzz::Bytes(data, size); !rest.empty();) {
    const auto choice = static_cast<unsigned char>(rest.front());
    rest.remove_prefix(1);
    std::string operand;
    if (choice % kOperations < 2) {
      operand = fuzz::TextIn(rest);
      rest.remove_prefix(std::min(operand.size() + 1, rest.size()));
    }
    Apply(state, choice % kOperations, choice / kOperations, operand);
    state.Check();
    if (state.models[0].value_or("").size() > kLongest) break;
  }
  return 0;
}
