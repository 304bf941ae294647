// A set of ASCII characters. Characters outside ASCII are in no set; the one operation that takes a set handles them
// separately. Sets can be built at compile time.
#pragma once

#include <array>
#include <string_view>

namespace quill::foundation {

class NSCharacterSet {
 public:
  static constexpr NSCharacterSet characterSetWithCharactersInString(std::string_view characters) noexcept {
    return NSCharacterSet().setByAddingCharactersInString(characters);
  }

  /// What RFC 3986, section 3.3, allows in a path, "/" included.
  static constexpr NSCharacterSet URLPathAllowedCharacterSet() noexcept {
    return characterSetWithCharactersInString(
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~!$&'()*+,;=:@/");
  }

  /// What RFC 3986, section 3.4, allows in a query.
  static constexpr NSCharacterSet URLQueryAllowedCharacterSet() noexcept {
    return URLPathAllowedCharacterSet().setByAddingCharactersInString("?");
  }

  constexpr NSCharacterSet setByAddingCharactersInString(std::string_view characters) const noexcept {
    NSCharacterSet sum = *this;
    for (const char character : characters) sum.members_[static_cast<unsigned char>(character)] = IsASCII(character);
    return sum;
  }

  constexpr NSCharacterSet invertedSet() const noexcept {
    NSCharacterSet inverted;
    for (unsigned character = 0; character < 0x80; ++character) inverted.members_[character] = !members_[character];
    return inverted;
  }

  constexpr bool contains(char character) const noexcept { return members_[static_cast<unsigned char>(character)]; }

 private:
  static constexpr bool IsASCII(char character) noexcept { return static_cast<unsigned char>(character) < 0x80; }

  // One entry for every byte, so that a look-up is a single load.
  std::array<bool, 256> members_{};
};

}  // namespace quill::foundation
