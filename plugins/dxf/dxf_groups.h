// The lowest layer of an ASCII DXF file: a sequence of group pairs, each two lines, a
// group code (an integer from -5 to 1071, written with any leading blanks) and its
// value. Lines end in "\n" or "\r\n"; the last line may lack its end. Codes 10 to 59,
// 110 to 149, 210 to 239 and 1010 to 1059 carry floating-point values, 60 to 99, 170
// to 179, 270 to 289, 370 to 389 and 1060 to 1071 integers; the rest text.
//
// A reader never copies the text it walks: each value is a view into it, valid as
// long as the text is. Nothing here keeps state between readers; several may run at
// once on different texts.
#ifndef GRAVOK_DXF_GROUPS_H
#define GRAVOK_DXF_GROUPS_H

#include <cstddef>
#include <string>
#include <string_view>

namespace gvk_dxf {

// One group pair: its code, its value (without the line end) and the 1-based line
// number of the code.
struct Group {
  int code = 0;
  std::string_view value;
  std::size_t line = 0;
};

// Reads group pairs one after the other from an ASCII DXF text. A UTF-8 byte-order
// mark before the first code is skipped.
class GroupReader {
 public:
  explicit GroupReader(std::string_view text);

  // Reads the next pair into `group`. False at the end of the text (error() is then
  // empty) or for a pair that is not one (error() says why, as "LINE: what is wrong":
  // a code line that is not an integer from -5 to 1071, or a code without its value
  // line, which means the text is cut short).
  bool next(Group& group);
  const std::string& error() const { return m_error; }

 private:
  bool read_line(std::string_view& line);

  std::string_view m_text;
  std::size_t m_at = 0;
  std::size_t m_line = 0;
  std::string m_error;
};

// The number a value holds: leading and trailing blanks are ignored, a leading '+' is
// allowed, and the rest must be a decimal number in the form std::from_chars reads
// (fixed or with an exponent). False for anything else, and for numbers that are not
// finite (including "nan" and "inf" and those that overflow a double).
bool parse_double(std::string_view text, double& value);
// The integer a value holds, with the same blanks and sign rules; false when it is no
// integer or does not fit in a long long.
bool parse_integer(std::string_view text, long long& value);

// `text` quoted for a message: at most 64 bytes of it between double quotes, with
// "..." after the quote when it was cut.
std::string quoted(std::string_view text);

// True when `text` starts as a DXF file does: after blanks, a byte-order mark and
// "999" comment pairs, the pair 0 / SECTION; or the sentinel of a binary DXF file.
bool starts_like_dxf(std::string_view text);

// The sentinel that opens a binary DXF file.
constexpr std::string_view kBinarySentinel{"AutoCAD Binary DXF\r\n\x1a\0", 22};

}  // namespace gvk_dxf

#endif  // GRAVOK_DXF_GROUPS_H
