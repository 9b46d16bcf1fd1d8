#include "dxf_groups.h"

#include <charconv>
#include <cmath>

namespace gvk_dxf {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  return text;
}

// `text` trimmed and without one leading '+', which std::from_chars does not take.
std::string_view number_text(std::string_view text) {
  text = trimmed(text);
  if (text.size() > 1 && text.front() == '+' && text[1] != '-') text.remove_prefix(1);
  return text;
}

}  // namespace

GroupReader::GroupReader(std::string_view text) : m_text(text) {
  if (m_text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    m_at = kByteOrderMark.size();
  }
}

bool GroupReader::read_line(std::string_view& line) {
  if (m_at >= m_text.size()) return false;
  std::size_t end = m_text.find('\n', m_at);
  if (end == std::string_view::npos) end = m_text.size();
  line = m_text.substr(m_at, end - m_at);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  m_at = end + 1;
  ++m_line;
  return true;
}

bool GroupReader::next(Group& group) {
  std::string_view code;
  if (!read_line(code)) return false;
  const std::size_t line = m_line;
  long long number = 0;
  if (!parse_integer(code, number) || number < -5 || number > 1071) {
    m_error = std::to_string(line) + ": expected a group code (an integer from -5 to " +
              "1071), found " + quoted(code);
    return false;
  }
  std::string_view value;
  if (!read_line(value)) {
    m_error = std::to_string(line) + ": group code " + std::to_string(number) +
              " has no value: the file is cut short";
    return false;
  }
  group.code = static_cast<int>(number);
  group.value = value;
  group.line = line;
  return true;
}

bool parse_double(std::string_view text, double& value) {
  text = number_text(text);
  if (text.empty()) return false;
  double parsed = 0;
  const auto [end, failed] =
      std::from_chars(text.data(), text.data() + text.size(), parsed);
  if (failed != std::errc() || end != text.data() + text.size()) return false;
  if (!std::isfinite(parsed)) return false;
  value = parsed;
  return true;
}

bool parse_integer(std::string_view text, long long& value) {
  text = number_text(text);
  if (text.empty()) return false;
  long long parsed = 0;
  const auto [end, failed] =
      std::from_chars(text.data(), text.data() + text.size(), parsed);
  if (failed != std::errc() || end != text.data() + text.size()) return false;
  value = parsed;
  return true;
}

std::string quoted(std::string_view text) {
  constexpr std::size_t kMost = 64;
  if (text.size() <= kMost) return "\"" + std::string(text) + "\"";
  return "\"" + std::string(text.substr(0, kMost)) + "\"...";
}

bool starts_like_dxf(std::string_view text) {
  if (text.substr(0, kBinarySentinel.size()) == kBinarySentinel) return true;
  GroupReader reader(text);
  Group group;
  while (reader.next(group)) {
    if (group.code == 999) continue;
    return group.code == 0 && trimmed(group.value) == "SECTION";
  }
  return false;
}

}  // namespace gvk_dxf
