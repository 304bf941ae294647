// A set of ASCII characters. Characters outside ASCII are in no set: the one operation that takes a set treats them
// apart.
#pragma once

#include <bitset>
#include <string_view>

namespace foundation {

class NSCharacterSet {
 public:
  static NSCharacterSet characterSetWithCharactersInString(std::string_view characters);
  /// What RFC 3986, section 3.4, allows in a query.
  static NSCharacterSet URLQueryAllowedCharacterSet();
  NSCharacterSet invertedSet() const;

  bool contains(unsigned char character) const noexcept { return character < 128 && members[character]; }

 private:
  std::bitset<128> members;
};

}  // namespace foundation
