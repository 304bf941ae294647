#include "platform/darwin/descriptors/FileSizeLimit.h"

#include <csignal>

namespace quill::darwin {
namespace {

void OnFileSizeLimit(int) {}

bool ReplaceDefaultHandler() noexcept {
  struct sigaction current {};
  if (::sigaction(SIGXFSZ, nullptr, &current) != 0) return false;
  if ((current.sa_flags & SA_SIGINFO) != 0 || current.sa_handler != SIG_DFL) return false;

  struct sigaction harmless {};
  harmless.sa_handler = OnFileSizeLimit;  // a handler, not SIG_IGN: exec resets handlers and hands down what is ignored
  harmless.sa_flags = SA_RESTART;
  return ::sigaction(SIGXFSZ, &harmless, nullptr) == 0;
}

}  // namespace

void SurviveFileSizeLimit() noexcept { [[maybe_unused]] static const bool isReplaced = ReplaceDefaultHandler(); }

}  // namespace quill::darwin
