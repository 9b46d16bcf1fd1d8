#include "landxml_document.h"

#include <expat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>
#include <new>
#include <string_view>
#include <system_error>
#include <unordered_map>

namespace gvk_landxml {
namespace {

// ---------------------------------------------------------------------------------
// Units. LandXML names each unit in full ("USSurveyFoot", "squareMeter",
// "cubicYard"). Each name below is the length unit of gravok/units.h with that type id
// (0 millimeter ... 7 survey foot), raised to the power: an area or volume unit is the
// square or cube of a length unit, as a Unit<2> or Unit<3> of the library is. The
// source reports it as gvk::Known<N> of that id, with the library's exact factors.
// LandXML's units that are no power of one of those lengths (inch, squareInch, acre,
// hectare, cubicInch, liter, hectareMeter, acreFeet, US_gallon, IMP_gallon) have no
// id: they are reported as the unknown unit, with a warning, never as a neighbour
// with a wrong factor. The first name of a type and power is the one the store
// writes.
struct UnitName {
  const char* name;
  std::int32_t type;
  int power;
};
constexpr UnitName kUnitNames[] = {
    {"millimeter", 0, 1},
    {"centimeter", 1, 1},
    {"meter", 2, 1},
    {"kilometer", 3, 1},
    {"foot", 4, 1},
    {"yard", 5, 1},
    {"mile", 6, 1},
    {"USSurveyFoot", 7, 1},
    {"squareMillimeter", 0, 2},
    {"squareCentimeter", 1, 2},
    {"squareMeter", 2, 2},
    {"squareKilometer", 3, 2},
    {"squareFoot", 4, 2},
    {"squareYard", 5, 2},
    {"squareMiles", 6, 2},
    {"squareUSSurveyFoot", 7, 2},
    {"cubicMillimeter", 0, 3},
    {"cubicCentimeter", 1, 3},
    {"cubicMeter", 2, 3},
    {"cubicKilometer", 3, 3},
    {"cubicFeet", 4, 3},
    {"cubicFoot", 4, 3},
    {"cubicYard", 5, 3},
    {"cubicMiles", 6, 3},
    {"cubicUSSurveyFoot", 7, 3},
};

bool equal_ignoring_case(const char* a, const char* b) {
  for (; *a && *b; ++a, ++b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; };
    if (lower(*a) != lower(*b)) return false;
  }
  return *a == *b;
}

// The type id that the LandXML unit name `name` gives at `power`, or -1.
std::int32_t unit_type(const char* name, int power) {
  for (const UnitName& unit : kUnitNames) {
    if (unit.power == power && equal_ignoring_case(unit.name, name)) return unit.type;
  }
  return -1;
}

// ---------------------------------------------------------------------------------
// Reading. The text goes through expat's stream parser in slices (a file is never held
// whole, nor a tree of it): the handlers below follow the elements this mapping knows
// by their place under <LandXML> and build the surfaces as their elements end. Only
// the text of the element being read is held, and a surface's point index.

bool is_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// Text of the file as a message quotes it: the first 64 bytes (not cutting a UTF-8
// sequence) and "..." when there is more, so that a name or a list of megabytes makes
// a message of one short line.
std::string excerpt(const char* text) {
  constexpr std::size_t kMost = 64;
  const std::size_t size = std::strlen(text);
  if (size <= kMost) return text;
  std::size_t cut = kMost;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
  return std::string(text, cut) + "...";
}

// The element name without a namespace prefix.
const char* local_name(const char* name) {
  const char* colon = std::strrchr(name, ':');
  return colon ? colon + 1 : name;
}

// The value of the first attribute named `name` (the prefix included), "" when there
// is none.
const char* attribute(const XML_Char** attributes, const char* name) {
  for (; *attributes; attributes += 2) {
    if (std::strcmp(attributes[0], name) == 0) return attributes[1];
  }
  return "";
}

// Reads the numbers of a white-space separated list (line breaks included), appending
// them to `out`. False at the first item that is not a finite number.
bool read_numbers(const char* text, std::vector<double>& out) {
  const char* end = text + std::strlen(text);
  for (const char* p = text;;) {
    while (p != end && is_space(*p)) ++p;
    if (p == end) return true;
    if (*p == '+') ++p;
    double value = 0;
    const auto [next, ec] = std::from_chars(p, end, value);
    if (ec != std::errc() || !std::isfinite(value) || (next != end && !is_space(*next))) {
      return false;
    }
    out.push_back(value);
    p = next;
  }
}

// Reads up to `capacity` integers of a white-space separated list into `out` and
// returns how many the text holds: capacity + 1 as soon as it holds more, -1 when an
// item before that is not an integer.
int read_integers(const char* text, long long* out, int capacity) {
  const char* end = text + std::strlen(text);
  int count = 0;
  for (const char* p = text;;) {
    while (p != end && is_space(*p)) ++p;
    if (p == end) return count;
    long long value = 0;
    const auto [next, ec] = std::from_chars(p, end, value);
    if (ec != std::errc() || (next != end && !is_space(*next))) return -1;
    if (count == capacity) return capacity + 1;
    out[count++] = value;
    p = next;
  }
}

// Point ids to positions in <Pnts>, built as the points arrive. Ids that fill a range
// densely (the usual case: 1 to n, perhaps with gaps, in any order) are kept in a
// table that grows towards either end by doubling; as soon as the ids seen span more
// than 4 slots per id (and 1024 more), they move to a hash map. The table thus never
// holds more than about 8 slots per id, whatever the ids are.
class PointIndex {
 public:
  // Adds `id` at `position`; false when the index holds `id` already.
  bool add(long long id, std::size_t position) {
    if (!m_dense) return m_map.emplace(id, position).second;
    if (m_count == 0) {
      m_min = m_lo = m_hi = id;
      m_table.assign(1, kNone);
    }
    m_lo = std::min(m_lo, id);
    m_hi = std::max(m_hi, id);
    const unsigned long long span = unsigned_of(m_hi) - unsigned_of(m_lo);
    if (span >= 4 * static_cast<unsigned long long>(m_count + 1) + 1024) {
      to_map();
      return m_map.emplace(id, position).second;
    }
    cover(id);
    std::size_t& slot =
        m_table[static_cast<std::size_t>(unsigned_of(id) - unsigned_of(m_min))];
    if (slot != kNone) return false;
    slot = position;
    ++m_count;
    return true;
  }

  bool find(long long id, std::size_t& position) const {
    if (!m_dense) {
      const auto found = m_map.find(id);
      if (found == m_map.end()) return false;
      position = found->second;
      return true;
    }
    const unsigned long long slot = unsigned_of(id) - unsigned_of(m_min);
    if (id < m_min || slot >= m_table.size() || m_table[slot] == kNone) return false;
    position = m_table[static_cast<std::size_t>(slot)];
    return true;
  }

 private:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  static unsigned long long unsigned_of(long long id) {
    return static_cast<unsigned long long>(id);
  }

  // Grows the table so that it has a slot for `id`, which lies within 4 slots per id
  // of the others.
  void cover(long long id) {
    const std::size_t size = m_table.size();
    if (id < m_min) {
      const unsigned long long needed = unsigned_of(m_min) - unsigned_of(id);
      const unsigned long long room =
          unsigned_of(m_min) - unsigned_of(std::numeric_limits<long long>::min());
      const std::size_t extra = static_cast<std::size_t>(
          std::min(std::max<unsigned long long>(needed, size), room));
      std::vector<std::size_t> table(size + extra, kNone);
      std::copy(m_table.begin(), m_table.end(),
                table.begin() + static_cast<std::ptrdiff_t>(extra));
      m_table.swap(table);
      m_min = static_cast<long long>(unsigned_of(m_min) - extra);
    } else if (unsigned_of(id) - unsigned_of(m_min) >= size) {
      const unsigned long long needed = unsigned_of(id) - unsigned_of(m_min) + 1;
      const unsigned long long room =
          unsigned_of(std::numeric_limits<long long>::max()) - unsigned_of(m_min) + 1;
      const unsigned long long grown = std::max<unsigned long long>(needed, 2 * size);
      m_table.resize(static_cast<std::size_t>(room == 0 ? grown : std::min(grown, room)),
                     kNone);
    }
  }

  void to_map() {
    m_map.reserve(m_count * 2);
    for (std::size_t slot = 0; slot < m_table.size(); ++slot) {
      if (m_table[slot] != kNone) {
        m_map.emplace(static_cast<long long>(unsigned_of(m_min) + slot), m_table[slot]);
      }
    }
    std::vector<std::size_t>().swap(m_table);
    m_dense = false;
  }

  bool m_dense = true;
  long long m_min = 0;           // the id of slot 0
  long long m_lo = 0, m_hi = 0;  // the least and the greatest id added
  std::size_t m_count = 0;
  std::vector<std::size_t> m_table;
  std::unordered_map<long long, std::size_t> m_map;
};

// What the reader makes of the elements it knows. An element under one it does not
// know (or under a second <Definition>, <Pnts>, ... where only the first counts) is
// kSkipped, and so is everything inside it.
enum class Kind : unsigned char {
  kSkipped,
  kRoot,
  kUnits,
  kSurfaces,
  kSurface,
  kDefinition,
  kPnts,
  kP,
  kFaces,
  kF,
  kSourceData,
  kBreaklines,
  kBreakline,
  kBoundaries,
  kBoundary,
  kPntList2D,
  kPntList3D,
};

// The unit attributes of a <Metric> or <Imperial>, kept until its <Units> ends.
struct UnitSystem {
  bool seen = false;
  unsigned long line = 0;
  std::string names[3];  // linearUnit, areaUnit, volumeUnit
};

// A <PntList2D> or <PntList3D> of a break line or boundary: only the first of each
// kind counts, and the 3D one over the 2D one.
struct PointList {
  bool seen = false;
  bool numbers_ok = false;
  unsigned long line = 0;
  std::string name;  // as the file spells it, for messages
  std::vector<double> numbers;
};

// What a byte is in a plain element's text or attribute value: one the parser
// passes on unchanged (kPlain), a line feed or tab (which it passes on in text but
// turns into a space in a value), the '<' that ends the text, or anything else
// (a reference, a carriage return, a control character, '>', non-ASCII).
enum ByteClass : unsigned char { kPlain, kBreak, kTab, kLess, kOther };
struct ByteClasses {
  ByteClass of[256];
  constexpr ByteClasses() : of() {
    for (int c = 0; c < 256; ++c) {
      of[c] = c == '\n'                                       ? kBreak
              : c == '\t'                                     ? kTab
              : c == '<'                                      ? kLess
              : c >= 0x20 && c < 0x7f && c != '&' && c != '>' ? kPlain
                                                              : kOther;
    }
  }
};
constexpr ByteClasses kClasses{};
ByteClass class_of(char c) { return kClasses.of[static_cast<unsigned char>(c)]; }

// The parser keeps each open element on a stack of its own: the depth is capped so
// that its memory stays small (LandXML itself nests about ten levels).
constexpr std::size_t kMaxDepth = 256;

class Reader {
 public:
  Reader(const std::string& where, Document& document, std::string& error,
         std::vector<std::string>& warnings)
      : m_where(where), m_document(document), m_error(error), m_warnings(warnings) {}

  ~Reader() {
    if (m_parser) XML_ParserFree(m_parser);
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  bool start() {
    static const XML_Memory_Handling_Suite kMemory = {allocate, reallocate, release};
    m_parser = XML_ParserCreate_MM(nullptr, &kMemory, nullptr);
    if (!m_parser) {
      m_error = m_where + ": out of memory";
      return false;
    }
    XML_SetUserData(m_parser, this);
    XML_SetElementHandler(m_parser, on_start, on_end);
    XML_SetCharacterDataHandler(m_parser, on_text);
    XML_SetCommentHandler(m_parser, on_comment);
    XML_SetProcessingInstructionHandler(m_parser, on_instruction);
    XML_SetStartCdataSectionHandler(m_parser, on_cdata);
    XML_SetEntityDeclHandler(m_parser, on_entity);
    XML_SetSkippedEntityHandler(m_parser, on_skipped_entity);
    XML_SetParamEntityParsing(m_parser, XML_PARAM_ENTITY_PARSING_NEVER);
    // A document with an external DTD or a parameter entity reference could declare
    // entities the reader does not read, and expat would drop references to them from
    // attribute values without a word: such a document is refused, unless it says
    // standalone="yes" (then a reference to an undeclared entity is an error).
    XML_SetNotStandaloneHandler(m_parser, [](void*) { return 0; });
    return true;
  }

  // Parses the next `size` bytes at `text` (`last` for the final ones).
  bool parse(const char* text, std::size_t size, bool last) {
    do {
      const std::size_t slice = std::min(size, m_slice);
      const std::size_t events = m_events;
      if (XML_Parse(m_parser, text, static_cast<int>(slice), last && slice == size) !=
          XML_STATUS_OK) {
        return failed();
      }
      fed(slice, events);
      text += slice;
      size -= slice;
    } while (size > 0);
    return true;
  }

  // The bytes to read next: the parser takes them a slice at a time.
  std::size_t slice() const { return m_slice; }

  // Reads the next `size` bytes at `text` (`last` for the final ones) as parse() does,
  // but reads the plain <P> and <F> elements of the <Pnts> and <Faces> being read
  // itself, calling the handlers as the parser would, and the parser is given the
  // rest: expat's tokenizer is most of the time of a large file, and nearly all of a
  // site's text is those two lists. A plain element is one whose every byte the
  // parser would pass on unchanged: `<P id="12">1 2 3</P>` with attributes of plain
  // names and values, text without references, CDATA or carriage returns, all of it
  // ASCII. Everything else, and everything after a DOCTYPE (which could give the
  // elements default attributes), goes to the parser. The lines the elements take are
  // given to the parser as line breaks, so that its lines stay the file's.
  //
  // `kept` receives how many bytes at the end of the text were not read (the start of
  // an element or of a markup that does not end in it; never more than kMostKept);
  // the caller passes them again at the front of the next call. None when `last`.
  bool read(const char* text, std::size_t size, bool last, std::size_t& kept) {
    const char* p = text;
    const char* fed = text;
    const char* const end = text + size;
    kept = 0;
    if (!m_scan_checked && (size >= 2 || last)) {
      // Text that is not ASCII-compatible (UTF-16) is the parser's alone.
      m_scan_checked = true;
      if (size < 2 || text[0] == '\0' || text[1] == '\0' ||
          static_cast<unsigned char>(text[0]) >= 0xFE)
        m_lex = Lex::kOff;
    }
    while (p != end && m_lex != Lex::kOff) {
      const char* from = p;
      if (m_lex == Lex::kText) {
        const void* lt = std::memchr(p, '<', static_cast<std::size_t>(end - p));
        p = lt ? static_cast<const char*>(lt) : end;
        count_lines(from, p);
        // The parser has read all of the text it was given only when that text is
        // blank: it keeps back a character cut short and a reference without its ';',
        // and a carriage return, to see whether a line feed follows.
        if (from != p)
          m_text_blank = m_text_blank && std::all_of(from, p, is_space) && p[-1] != '\r';
        if (p == end) break;
        // Up to nine bytes tell which markup this is.
        if (end - p < 9 && !last) break;
        if (starts(p, end, "<!--")) {
          m_lex = Lex::kComment;
        } else if (starts(p, end, "<![CDATA[")) {
          m_lex = Lex::kCdata;
        } else if (starts(p, end, "<?")) {
          m_lex = Lex::kInstruction;
        } else if (starts(p, end, "<!")) {
          m_lex = Lex::kOff;  // a DOCTYPE
        } else {
          if (m_text_blank && end - p > 2 && (p[1] == 'P' || p[1] == 'F') &&
              (p[2] == '>' || is_space(p[2]))) {
            if (!feed(fed, p, false)) return false;
            fed = p;
            bool more = false;
            const char* after = read_plain_elements(p, end, last, more);
            if (m_failed) return false;
            if (after != p || more) {
              p = fed = after;
              m_text_blank = true;
              if (more) break;
              continue;
            }
          }
          m_lex = Lex::kTag;
          m_quote = 0;
        }
        ++p;
        continue;
      }
      if (m_lex == Lex::kTag) {
        for (; p != end; ++p) {
          const char c = *p;
          if (m_quote) {
            if (c == m_quote) m_quote = 0;
          } else if (c == '"' || c == '\'') {
            m_quote = c;
          } else if (c == '>') {
            m_lex = Lex::kText;
            m_text_blank = true;
            ++p;
            break;
          }
        }
        count_lines(from, p);
        continue;
      }
      // A comment, CDATA section or processing instruction: up to its end, or up to
      // the bytes at the end of the text that may begin it.
      const char* close = m_lex == Lex::kComment ? "-->"
                          : m_lex == Lex::kCdata ? "]]>"
                                                 : "?>";
      const std::size_t length = std::strlen(close);
      const char* found = std::search(p, end, close, close + length);
      if (found != end) {
        p = found + length;
        m_lex = Lex::kText;
        m_text_blank = true;
      } else {
        p = end - std::min<std::size_t>(length - 1, static_cast<std::size_t>(end - p));
        if (last) p = end;
      }
      count_lines(from, p);
      if (found == end) break;
    }
    if (m_lex == Lex::kOff || last) p = end;
    kept = static_cast<std::size_t>(end - p);
    return feed(fed, p, last);
  }

  static constexpr std::size_t kMostKept = 64 * 1024;

 private:
  // Where the scan of read() stands in the markup, between calls.
  enum class Lex : unsigned char { kText, kTag, kComment, kCdata, kInstruction, kOff };

  static bool starts(const char* p, const char* end, const char* with) {
    const std::size_t length = std::strlen(with);
    return static_cast<std::size_t>(end - p) >= length &&
           std::memcmp(p, with, length) == 0;
  }

  // Counts the line breaks from `from` to `to` as the parser does: "\r\n", "\r" and
  // "\n" each end a line.
  void count_lines(const char* from, const char* to) {
    if (from == to) return;
    if (m_after_cr && *from == '\n') ++from;
    m_line += static_cast<unsigned long>(std::count(from, to, '\n'));
    for (const char* cr = from;
         (cr = static_cast<const char*>(
              std::memchr(cr, '\r', static_cast<std::size_t>(to - cr)))) != nullptr;) {
      if (++cr == to || *cr != '\n') ++m_line;
      if (cr == to) break;
    }
    m_after_cr = to[-1] == '\r';
  }

  // Gives the parser the line breaks of the elements read since, then the text from
  // `from` to `to`.
  bool feed(const char* from, const char* to, bool last) {
    static const std::string kBreaks(4096, '\n');
    while (m_breaks_owed > 0) {
      const std::size_t n = std::min(m_breaks_owed, kBreaks.size());
      m_breaks_owed -= n;
      if (!parse(kBreaks.data(), n, false)) return false;
    }
    return (from == to && !last) ||
           parse(from, static_cast<std::size_t>(to - from), last);
  }

  // Reads plain elements of the list being read from `p` on, with the blanks between
  // them; returns where it stopped (`p` when the first is not one). `more` is set when
  // an element may be plain but does not end before `end`.
  const char* read_plain_elements(const char* p, const char* end, bool last, bool& more) {
    if (m_failed || m_skipped_from != 0 || m_kinds.empty()) return p;
    const Kind list = m_kinds.back();
    if (list != Kind::kPnts && list != Kind::kFaces) return p;
    const char tag = list == Kind::kPnts ? 'P' : 'F';
    const char name[2] = {tag, '\0'};
    // The lines of what is read here are owed to the parser.
    const unsigned long first_line = m_line;
    const auto owe = [&] { m_breaks_owed += m_line - first_line; };
    const char* q = p;
    while (true) {
      const char* blanks = q;
      unsigned long breaks = 0;
      bool cr = false;
      for (; q != end && is_space(*q); ++q) {
        breaks += *q == '\n';
        cr = cr || *q == '\r';
      }
      // Line feeds alone need no look at the bytes again.
      const auto pass_blanks = [&] {
        if (cr || m_after_cr) {
          count_lines(blanks, q);
        } else {
          m_line += breaks;
        }
      };
      if (q == end || *q != '<') {
        pass_blanks();
        owe();
        return q;
      }
      const char* after = plain_element(q, end, tag);
      if (!after) {
        // The blanks before it stay with it: the parser is given them.
        more =
            !last && m_plain_so_far && static_cast<std::size_t>(end - blanks) < kMostKept;
        owe();
        return blanks;
      }
      pass_blanks();
      m_fast_line = m_line;
      m_in_fast = true;
      const char** atts = m_fast_atts.data();
      on_start(this, name, atts);
      if (m_fast_text_size)
        on_text(this, m_fast_text, static_cast<int>(m_fast_text_size));
      on_end(this, name);
      m_in_fast = false;
      // An element holds no carriage return, and ends in '>'.
      m_line += m_fast_breaks;
      m_after_cr = false;
      q = after;
      if (m_failed) return owe(), q;
    }
  }

  static bool is_name_start(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
  }
  static bool is_name(char c) {
    return is_name_start(c) || (c >= '0' && c <= '9') || c == '.' || c == '-';
  }

  // The element <TAG ...>text</TAG> at `p` when it is plain: its attributes go to
  // m_fast_atts (names and values in m_fast_strings) and its text to m_fast_text, and
  // the byte after it is returned. nullptr otherwise, with m_plain_so_far saying
  // whether the text ran out before anything that is not plain was seen.
  const char* plain_element(const char* p, const char* end, char tag) {
    m_plain_so_far = false;
    m_fast_breaks = 0;
    // Blanks inside the element, its line feeds counted.
    const auto skip_blanks = [&](const char* at) {
      for (; at != end && (*at == ' ' || *at == '\t' || *at == '\n'); ++at)
        m_fast_breaks += *at == '\n';
      return at;
    };
    if (end - p < 3) return m_plain_so_far = true, nullptr;
    if (p[0] != '<' || p[1] != tag || !(p[2] == '>' || is_space(p[2]))) return nullptr;
    const char* q = p + 2;
    m_fast_strings.clear();
    std::size_t bounds[2 * kMostPlainAttributes];
    std::size_t count = 0;
    const auto ran_out = [&] {
      m_plain_so_far = true;
      return nullptr;
    };
    while (true) {
      const char* blanks = q;
      q = skip_blanks(q);
      if (q == end) return ran_out();
      if (*q == '>') break;
      if (q == blanks || !is_name_start(*q) || count == kMostPlainAttributes)
        return nullptr;
      const char* name = q;
      while (q != end && is_name(*q)) ++q;
      const std::size_t name_size = static_cast<std::size_t>(q - name);
      q = skip_blanks(q);
      if (q == end) return ran_out();
      if (*q != '=') return nullptr;
      q = skip_blanks(q + 1);
      if (q == end) return ran_out();
      const char quote = *q;
      if (quote != '"' && quote != '\'') return nullptr;
      const char* value = ++q;
      while (q != end && *q != quote) {
        // Line breaks and tabs in a value would reach the handler as spaces.
        // '>' may stand in a value as it is.
        if (class_of(*q) != kPlain && *q != '>') return nullptr;
        ++q;
      }
      if (q == end) return ran_out();
      const std::string_view this_name(name, name_size);
      for (std::size_t k = 0; k < count; ++k) {
        if (std::string_view(m_fast_strings.data() + bounds[2 * k], bounds[2 * k + 1]) ==
            this_name)
          return nullptr;  // given twice: the parser refuses that
      }
      bounds[2 * count] = m_fast_strings.size();
      bounds[2 * count + 1] = name_size;
      m_fast_strings.append(name, name_size).push_back('\0');
      m_fast_strings.append(value, static_cast<std::size_t>(q - value)).push_back('\0');
      ++count;
      ++q;
    }
    ++q;  // '>'
    m_fast_text = q;
    for (; q != end; ++q) {
      const ByteClass c = class_of(*q);
      if (c == kPlain || c == kTab) continue;
      if (c == kLess) break;
      if (c != kBreak) return nullptr;
      ++m_fast_breaks;
    }
    if (q == end) return ran_out();
    m_fast_text_size = static_cast<std::size_t>(q - m_fast_text);
    if (end - q < 4) return ran_out();
    if (q[1] != '/' || q[2] != tag) return nullptr;
    q = skip_blanks(q + 3);
    if (q == end) return ran_out();
    if (*q != '>') return nullptr;
    // The names and values, each ending in a NUL, one after the other.
    const char* strings = m_fast_strings.data();
    std::size_t k = 0;
    for (const char* s = strings; k < 2 * count; ++k) {
      m_fast_atts[k] = s;
      s += std::strlen(s) + 1;
    }
    m_fast_atts[k] = nullptr;
    return q + 1;
  }

  // The parser is fed in slices of 64 KiB. One token that spans slices (a long
  // attribute value) is scanned again from its start with every slice, so while a
  // slice brings no event the next one doubles, up to the bytes fed so far: a token of
  // n bytes then costs O(n) to scan, not O(n^2 / slice), and the slice stays within
  // the size of the text.
  static constexpr std::size_t kSlice = 64 * 1024;
  static constexpr std::size_t kMostSlice = std::size_t{1} << 30;
  void fed(std::size_t bytes, std::size_t events_before) {
    m_fed += bytes;
    m_slice = m_events != events_before
                  ? kSlice
                  : std::min({2 * m_slice, std::max(kSlice, m_fed), kMostSlice});
  }

  // The parser's memory comes from operator new, like every other allocation of the
  // plug-in, so that a host (or a test) that replaces it sees all of it. Each block
  // keeps its size in front for reallocate.
  static constexpr std::size_t kHeader = 16;
  static void* allocate(std::size_t size) {
    if (size > std::numeric_limits<std::size_t>::max() - kHeader) return nullptr;
    void* block = ::operator new(size + kHeader, std::nothrow);
    if (!block) return nullptr;
    *static_cast<std::size_t*>(block) = size;
    return static_cast<char*>(block) + kHeader;
  }
  static void release(void* p) {
    if (p) ::operator delete(static_cast<char*>(p) - kHeader);
  }
  static void* reallocate(void* p, std::size_t size) {
    if (!p) return allocate(size);
    void* grown = allocate(size);
    if (!grown) return nullptr;
    const std::size_t old =
        *reinterpret_cast<std::size_t*>(static_cast<char*>(p) - kHeader);
    std::memcpy(grown, p, std::min(old, size));
    release(p);
    return grown;
  }

  bool failed() {
    if (!m_failed) {
      m_failed = true;
      // expat says "no element found" also of a text cut inside the root.
      const XML_Error code = XML_GetErrorCode(m_parser);
      const std::string what =
          code == XML_ERROR_NO_MEMORY ? "out of memory"
          : code == XML_ERROR_NOT_STANDALONE
              ? "the DOCTYPE names an external DTD or a parameter entity, which are not "
                "read (entities are never expanded)"
          : code == XML_ERROR_NO_ELEMENTS && m_depth > 0
              ? "not well-formed XML: the text ends before </" + m_root + ">"
              : std::string("not well-formed XML: ") + XML_ErrorString(code);
      m_error = at(static_cast<unsigned long>(XML_GetErrorLineNumber(m_parser))) + what;
    }
    return false;
  }

  unsigned long line() const {
    if (m_in_fast) return m_fast_line;
    return static_cast<unsigned long>(XML_GetCurrentLineNumber(m_parser));
  }
  std::string at(unsigned long line) const {
    return m_where + ":" + std::to_string(line) + ": ";
  }
  // Stops the parser with `message` about the element at `line`.
  void fail(unsigned long line, const std::string& message) { stop(at(line) + message); }
  void stop(const std::string& message) {
    if (m_failed) return;
    m_failed = true;
    m_error = message;
    XML_StopParser(m_parser, XML_FALSE);
  }
  void warn(unsigned long line, const std::string& message) {
    m_warnings.push_back(at(line) + message);
  }

  // The handlers: each catches what it throws (out of memory), which must not cross
  // the parser's C frames.
  template <typename Work>
  static void guarded(void* self, Work work) {
    Reader& reader = *static_cast<Reader*>(self);
    if (reader.m_failed) return;  // the parser may call a few more after a stop
    ++reader.m_events;
    try {
      work(reader);
    } catch (const std::bad_alloc&) {
      reader.fail(reader.line(), "out of memory");
    }
  }
  static void XMLCALL on_start(void* self, const XML_Char* name, const XML_Char** atts) {
    guarded(self, [&](Reader& r) { r.start_element(name, atts); });
  }
  static void XMLCALL on_end(void* self, const XML_Char*) {
    guarded(self, [&](Reader& r) { r.end_element(); });
  }
  static void XMLCALL on_text(void* self, const XML_Char* text, int size) {
    guarded(self, [&](Reader& r) {
      if (r.m_capturing && r.m_depth == r.m_capture_depth) {
        r.m_text.append(text, static_cast<std::size_t>(size));
      }
    });
  }
  static void XMLCALL on_comment(void* self, const XML_Char*) {
    guarded(self, [](Reader& r) { r.interrupt_text(); });
  }
  static void XMLCALL on_instruction(void* self, const XML_Char*, const XML_Char*) {
    guarded(self, [](Reader& r) { r.interrupt_text(); });
  }
  static void XMLCALL on_cdata(void* self) {
    guarded(self, [](Reader& r) { r.interrupt_text(); });
  }
  static void XMLCALL on_entity(void* self, const XML_Char* name, int parameter,
                                const XML_Char*, int, const XML_Char*, const XML_Char*,
                                const XML_Char*, const XML_Char*) {
    guarded(self, [&](Reader& r) {
      r.fail(r.line(), std::string("<!ENTITY ") + (parameter ? "% " : "") +
                           excerpt(name) +
                           ">: entity declarations are refused (entities are never "
                           "expanded)");
    });
  }
  static void XMLCALL on_skipped_entity(void* self, const XML_Char* name, int) {
    guarded(self, [&](Reader& r) {
      r.fail(r.line(), "&" + excerpt(name) +
                           ";: a reference to an entity that is not read (entities "
                           "are never expanded)");
    });
  }

  // The text an element holds is its character data before anything else inside it
  // (a child element, a comment, a CDATA section or a processing instruction); text
  // that is only white space does not count as that first text.
  void interrupt_text() {
    if (!m_capturing) return;
    if (std::all_of(m_text.begin(), m_text.end(), is_space)) {
      m_text.clear();
    } else {
      m_capturing = false;
    }
  }
  // Starts keeping the text of the element that is starting (one level below m_depth).
  void capture() {
    m_text.clear();
    m_capturing = true;
    m_capture_depth = m_depth + 1;
  }

  Kind kind_of(Kind parent, const char* full_name, const char* name,
               const XML_Char** atts) {
    const auto named = [&](const char* n) { return std::strcmp(name, n) == 0; };
    switch (parent) {
      case Kind::kRoot:
        if (named("Units")) {
          m_has_units = true;
          m_metric = UnitSystem();
          m_imperial = UnitSystem();
          return Kind::kUnits;
        }
        if (named("Application")) {
          m_document.application_name = attribute(atts, "name");
          m_document.application_version = attribute(atts, "version");
          m_document.application =
              m_document.application_name + " " + m_document.application_version;
        } else if (named("CoordinateSystem")) {
          gvk::CoordinateSystem& c = m_document.coordinate_system;
          c.name = attribute(atts, "name");
          c.description = attribute(atts, "desc");
          c.epsg_code = attribute(atts, "epsgCode");
          c.wkt = attribute(atts, "ogcWktCode");
          c.horizontal_name = attribute(atts, "horizontalCoordinateSystemName");
          c.horizontal_datum = attribute(atts, "horizontalDatum");
          c.vertical_datum = attribute(atts, "verticalDatum");
        } else if (named("Surfaces")) {
          return Kind::kSurfaces;
        }
        return Kind::kSkipped;
      case Kind::kUnits:
        for (UnitSystem* system : {&m_metric, &m_imperial}) {
          if (system->seen || !named(system == &m_metric ? "Metric" : "Imperial")) {
            continue;
          }
          system->seen = true;
          system->line = line();
          system->names[0] = attribute(atts, "linearUnit");
          system->names[1] = attribute(atts, "areaUnit");
          system->names[2] = attribute(atts, "volumeUnit");
        }
        return Kind::kSkipped;
      case Kind::kSurfaces:
        if (!named("Surface")) return Kind::kSkipped;
        m_surface = Surface();
        m_surface.name = attribute(atts, "name");
        m_surface.desc = attribute(atts, "desc");
        m_surface_line = line();
        m_definition_seen = m_tin = m_source_seen = false;
        m_source_error.clear();
        m_source_warnings.clear();
        return Kind::kSurface;
      case Kind::kSurface:
        if (named("Definition") && !m_definition_seen) {
          m_definition_seen = true;
          const char* type = attribute(atts, "surfType");
          m_tin = !*type || equal_ignoring_case(type, "TIN");
          m_pnts_seen = m_pnts_done = m_faces_seen = m_any_face = false;
          m_index = PointIndex();
          m_deferred_lines.clear();
          return m_tin ? Kind::kDefinition : Kind::kSkipped;
        }
        if (named("SourceData") && !m_source_seen) {
          m_source_seen = true;
          return Kind::kSourceData;
        }
        return Kind::kSkipped;
      case Kind::kDefinition:
        if (named("Pnts") && !m_pnts_seen) {
          m_pnts_seen = true;
          return Kind::kPnts;
        }
        if (named("Faces") && !m_faces_seen) {
          m_faces_seen = true;
          m_faces_line = line();
          return Kind::kFaces;
        }
        return Kind::kSkipped;
      case Kind::kPnts:
        if (!named("P")) return Kind::kSkipped;
        m_point_id = attribute(atts, "id");
        m_element_line = line();
        capture();
        return Kind::kP;
      case Kind::kFaces:
        if (!named("F")) return Kind::kSkipped;
        m_any_face = true;
        if (std::strcmp(attribute(atts, "i"), "1") == 0) {
          ++m_surface.invisible_faces;  // invisible: not part of the surface
          return Kind::kSkipped;
        }
        m_element_line = line();
        capture();
        return Kind::kF;
      case Kind::kSourceData:
        if (named("Breaklines")) return Kind::kBreaklines;
        if (named("Boundaries")) return Kind::kBoundaries;
        return Kind::kSkipped;
      case Kind::kBreaklines:
      case Kind::kBoundaries: {
        const bool lines = parent == Kind::kBreaklines;
        if (!named(lines ? "Breakline" : "Boundary")) return Kind::kSkipped;
        if (!lines && !equal_ignoring_case(attribute(atts, "bndType"), "outer")) {
          return Kind::kSkipped;
        }
        m_element_line = line();
        m_list2.seen = m_list3.seen = false;
        return lines ? Kind::kBreakline : Kind::kBoundary;
      }
      case Kind::kBreakline:
      case Kind::kBoundary:
        for (PointList* list : {&m_list2, &m_list3}) {
          if (list->seen || !named(list == &m_list2 ? "PntList2D" : "PntList3D")) {
            continue;
          }
          list->seen = true;
          list->line = line();
          list->name = full_name;
          capture();
          return list == &m_list2 ? Kind::kPntList2D : Kind::kPntList3D;
        }
        return Kind::kSkipped;
      default: return Kind::kSkipped;
    }
  }

  void start_element(const XML_Char* name, const XML_Char** atts) {
    interrupt_text();
    if (m_depth == kMaxDepth) {
      return fail(line(), "<" + excerpt(name) + ">: elements nested deeper than " +
                              std::to_string(kMaxDepth) + " levels");
    }
    const char* local = local_name(name);
    Kind kind = Kind::kSkipped;
    if (m_depth == 0) {
      if (std::strcmp(local, "LandXML") != 0) {
        return fail(line(),
                    "the root element is <" + excerpt(name) + ">, expected <LandXML>");
      }
      kind = Kind::kRoot;
      m_root = excerpt(name);
      m_root_line = line();
      m_root_warnings = m_warnings.size();
    } else if (m_skipped_from == 0) {
      kind = kind_of(m_kinds.back(), name, local, atts);
    }
    ++m_depth;
    if (kind == Kind::kSkipped) {
      if (m_skipped_from == 0) m_skipped_from = m_depth;
      return;
    }
    m_kinds.push_back(kind);
  }

  void end_element() {
    if (m_skipped_from != 0) {
      if (m_depth-- == m_skipped_from) m_skipped_from = 0;
      return;
    }
    const Kind kind = m_kinds.back();
    m_kinds.pop_back();
    --m_depth;
    m_capturing = false;
    switch (kind) {
      case Kind::kRoot:
        // A file that does not state its units is read with the unknown unit, never a
        // guess; the warning comes first, as the root it is about does.
        if (!m_has_units) {
          m_warnings.insert(
              m_warnings.begin() + static_cast<std::ptrdiff_t>(m_root_warnings),
              at(m_root_line) + "no <Units>: the units are unknown");
        }
        return;
      case Kind::kUnits: return end_units();
      case Kind::kPnts: m_pnts_done = true; return;
      case Kind::kP: return end_point();
      case Kind::kF: return end_face();
      case Kind::kPntList2D:
      case Kind::kPntList3D: {
        PointList& list = kind == Kind::kPntList3D ? m_list3 : m_list2;
        list.numbers.clear();
        list.numbers_ok = read_numbers(m_text.c_str(), list.numbers) &&
                          list.numbers.size() % (kind == Kind::kPntList3D ? 3 : 2) == 0;
        return;
      }
      case Kind::kBreakline: return end_break_line();
      case Kind::kBoundary: return end_boundary();
      case Kind::kDefinition: return end_definition();
      case Kind::kSurface: return end_surface();
      default: return;
    }
  }

  void end_units() {
    const UnitSystem& system = m_metric.seen ? m_metric : m_imperial;
    if (!system.seen) return;
    std::int32_t* fields[] = {&m_document.units.linear, &m_document.units.area,
                              &m_document.units.volume};
    const char* attributes[] = {"linearUnit", "areaUnit", "volumeUnit"};
    for (int i = 0; i < 3; ++i) {
      const std::string& name = system.names[i];
      const std::int32_t type = unit_type(name.c_str(), i + 1);
      *fields[i] = type < 0 ? gvk::kUnknownUnitType : type;
      if (type < 0 && !name.empty()) {
        warn(system.line, std::string(attributes[i]) + " \"" + excerpt(name.c_str()) +
                              "\" is not a known unit: reported as unknown");
      }
    }
  }

  std::string point_tag() const {
    return "<P id=\"" + excerpt(m_point_id.c_str()) + "\">";
  }

  void end_point() {
    long long id = 0;
    if (read_integers(m_point_id.c_str(), &id, 1) != 1) {
      return fail(m_element_line, point_tag() + ": the id is not an integer");
    }
    m_numbers.clear();
    if (!read_numbers(m_text.c_str(), m_numbers)) {
      return fail(m_element_line, point_tag() +
                                      ": expected \"northing easting elevation\"" +
                                      ", found text that is not a finite number");
    }
    if (m_numbers.size() == 2) {
      return fail(m_element_line, point_tag() + ": missing elevation (expected " +
                                      "\"northing easting elevation\")");
    }
    if (m_numbers.size() != 3) {
      return fail(m_element_line, point_tag() + ": expected 3 numbers " +
                                      "\"northing easting elevation\", found " +
                                      std::to_string(m_numbers.size()));
    }
    if (!m_index.add(id, m_surface.x.size())) {
      return fail(m_element_line, point_tag() + ": duplicate point id");
    }
    m_surface.y.push_back(m_numbers[0]);  // northing first
    m_surface.x.push_back(m_numbers[1]);
    m_surface.z.push_back(m_numbers[2]);
  }

  // A face whose points are not all read yet (its <Faces> comes before <Pnts>) keeps
  // its ids until the <Definition> ends.
  void end_face() {
    long long ids[3];
    if (read_integers(m_text.c_str(), ids, 3) != 3) {
      return fail(m_element_line,
                  "<F>: expected 3 point ids, found \"" + excerpt(m_text.c_str()) + "\"");
    }
    gvk::Triangle triangle{};
    const bool deferred = !m_pnts_done;
    for (int k = 0; k < 3; ++k) {
      if (deferred) {
        triangle[k] = static_cast<unsigned long long>(ids[k]);
      } else if (!resolve(ids[k], triangle[k], m_element_line)) {
        return;
      }
    }
    if (deferred) m_deferred_lines.push_back(m_element_line);
    m_surface.triangles.push_back(triangle);
  }

  bool resolve(long long id, unsigned long long& position, unsigned long line) {
    std::size_t found = 0;
    if (!m_index.find(id, found)) {
      fail(line,
           "<F> names point " + std::to_string(id) + ", which <Pnts> does not hold");
      return false;
    }
    position = found;
    return true;
  }

  void end_definition() {
    if (m_any_face && !m_pnts_seen) {
      return fail(m_faces_line, "<Faces> without <Pnts>: the faces name no points");
    }
    for (std::size_t i = 0; i < m_deferred_lines.size(); ++i) {
      for (unsigned long long& v : m_surface.triangles[i]) {
        if (!resolve(static_cast<long long>(v), v, m_deferred_lines[i])) return;
      }
    }
    m_deferred_lines.clear();
  }

  // The list that a break line or boundary takes: its first <PntList3D>, else its first
  // <PntList2D>; null when it has neither, and after a failure.
  const PointList* chosen_list() {
    const PointList* list = m_list3.seen ? &m_list3 : m_list2.seen ? &m_list2 : nullptr;
    if (list && !list->numbers_ok && m_source_error.empty()) {
      const bool three = list == &m_list3;
      m_source_error = at(list->line) + "<" + excerpt(list->name.c_str()) +
                       ">: expected a list of " + (three ? "3" : "2") +
                       " numbers per point (northing easting" +
                       (three ? " elevation)" : ")");
    }
    return m_source_error.empty() ? list : nullptr;
  }

  // Break lines and boundaries wait for the end of their <Surface>: they count only
  // when its <Definition> is a TIN, which may come after them.
  void end_break_line() {
    if (!m_source_error.empty()) return;
    const PointList* list = chosen_list();
    if (!m_source_error.empty()) return;
    const std::vector<double>* n = list ? &list->numbers : nullptr;
    if (list != &m_list3 || n->size() < 6) {
      m_source_warnings.push_back(
          at(m_element_line) + (list == &m_list2
                                    ? "<Breakline> without elevations: left out"
                                    : "<Breakline> of fewer than two points: left out"));
      return;
    }
    for (std::size_t i = 3; i + 2 < n->size(); i += 3) {
      const double* p = n->data();
      m_surface.break_lines.push_back(
          {p[i - 2], p[i - 3], p[i - 1], p[i + 1], p[i], p[i + 2]});
    }
  }

  void end_boundary() {
    if (!m_source_error.empty()) return;
    const PointList* list = chosen_list();
    if (!list) return;
    const std::size_t dimension = list == &m_list3 ? 3 : 2;
    const std::vector<double>& n = list->numbers;
    std::vector<double> xs, ys;
    for (std::size_t i = 0; i + 1 < n.size(); i += dimension) {
      ys.push_back(n[i]);
      xs.push_back(n[i + 1]);
    }
    m_surface.boundary_xs.push_back(std::move(xs));
    m_surface.boundary_ys.push_back(std::move(ys));
  }

  void end_surface() {
    if (!m_tin) {
      warn(m_surface_line, "<Surface name=\"" + excerpt(m_surface.name.c_str()) +
                               "\"> has no TIN <Definition>: left out");
      m_surface = Surface();
      return;
    }
    if (!m_source_error.empty()) return stop(m_source_error);
    for (std::string& w : m_source_warnings) m_warnings.push_back(std::move(w));
    m_document.surfaces.push_back(std::move(m_surface));
    m_surface = Surface();
  }

  const std::string& m_where;
  Document& m_document;
  std::string& m_error;
  std::vector<std::string>& m_warnings;
  XML_Parser m_parser = nullptr;
  bool m_failed = false;
  std::size_t m_slice = kSlice, m_fed = 0, m_events = 0;

  // read()'s scan: where it stands in the markup, the line it is on (counted from 1 as
  // the parser counts), the lines of the elements it read that the parser is still to
  // be given, and the element it is reading.
  static constexpr std::size_t kMostPlainAttributes = 4;
  Lex m_lex = Lex::kText;
  char m_quote = 0;
  bool m_after_cr = false;
  bool m_text_blank = true;  // the text since the last markup is blank
  unsigned long m_line = 1;
  bool m_scan_checked = false;
  std::size_t m_breaks_owed = 0;
  bool m_in_fast = false, m_plain_so_far = false;
  unsigned long m_fast_line = 0, m_fast_breaks = 0;
  std::string m_fast_strings;
  std::array<const char*, 2 * kMostPlainAttributes + 1> m_fast_atts{};
  const char* m_fast_text = nullptr;
  std::size_t m_fast_text_size = 0;

  // The kinds of the open elements down to the first skipped one; m_depth counts all
  // open elements, m_skipped_from is the depth of the outermost skipped one (0: none).
  std::vector<Kind> m_kinds;
  std::size_t m_depth = 0;
  std::size_t m_skipped_from = 0;
  std::string m_root;  // the root element's name
  unsigned long m_root_line = 0;
  std::size_t m_root_warnings = 0;  // warnings before the root's
  bool m_has_units = false;

  // The text of the element being read (a <P>, <F> or point list).
  std::string m_text;
  bool m_capturing = false;
  std::size_t m_capture_depth = 0;

  UnitSystem m_metric, m_imperial;

  // The surface being read.
  Surface m_surface;
  unsigned long m_surface_line = 0;
  bool m_definition_seen = false, m_tin = false, m_source_seen = false;
  bool m_pnts_seen = false, m_pnts_done = false, m_faces_seen = false, m_any_face = false;
  unsigned long m_faces_line = 0;
  PointIndex m_index;
  std::vector<unsigned long> m_deferred_lines;
  std::string m_point_id;
  unsigned long m_element_line = 0;
  std::vector<double> m_numbers;
  PointList m_list2, m_list3;
  std::string m_source_error;
  std::vector<std::string> m_source_warnings;
};

}  // namespace

bool parse_document(std::vector<char>& text, const std::string& where, Document& document,
                    std::string& error, std::vector<std::string>& warnings,
                    bool scan_lists) {
  document = Document();
  Reader reader(where, document, error, warnings);
  if (!reader.start()) return false;
  if (!scan_lists) return reader.parse(text.data(), text.size(), true);
  std::size_t kept = 0;
  return reader.read(text.data(), text.size(), true, kept);
}

bool read_document(const std::string& path, Document& document, std::string& error,
                   std::vector<std::string>& warnings) {
  document = Document();
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                       std::fclose);
  if (!file) {
    error = path + ": cannot be read";
    return false;
  }
  Reader reader(path, document, error, warnings);
  if (!reader.start()) return false;
  // The bytes read() kept from the last block come first in the next.
  std::vector<char> block;
  std::size_t kept = 0;
  for (;;) {
    const std::size_t chunk = reader.slice();
    try {
      if (block.size() < kept + chunk) block.resize(kept + chunk);
    } catch (const std::bad_alloc&) {
      error = path + ": out of memory";
      return false;
    }
    const std::size_t got = std::fread(block.data() + kept, 1, chunk, file.get());
    if (std::ferror(file.get())) {
      error = path + ": cannot be read";
      return false;
    }
    const bool last = got < chunk && std::feof(file.get());
    const std::size_t size = kept + got;
    if (!reader.read(block.data(), size, last, kept)) return false;
    if (last) return true;
    std::memmove(block.data(), block.data() + size - kept, kept);
  }
}

std::string landxml_root_fault(const std::string& path) {
  std::error_code code;
  const std::filesystem::file_status status = std::filesystem::status(path, code);
  if (code) return path + ": " + code.message();
  if (std::filesystem::is_directory(status)) {
    return path + ": " + std::make_error_code(std::errc::is_a_directory).message();
  }
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return path + ": " + std::generic_category().message(errno);
  std::string head(64 * 1024, '\0');
  head.resize(std::fread(&head[0], 1, head.size(), file));
  std::fclose(file);
  const std::string not_landxml = path + ": not a LandXML document: ";
  if (head.compare(0, 2, "\xFF\xFE") == 0 || head.compare(0, 2, "\xFE\xFF") == 0 ||
      head.compare(0, 2, std::string("<\0", 2)) == 0 ||
      head.compare(0, 2, std::string("\0<", 2)) == 0) {
    return path +
           ": UTF-16 text; the LandXML reader reads UTF-8 (save the file as UTF-8)";
  }
  // Skip the declaration, comments and processing instructions up to the first tag.
  for (std::size_t at = head.find('<'); at != std::string::npos;
       at = head.find('<', at + 1)) {
    if (at + 1 >= head.size()) break;
    const char next = head[at + 1];
    if (next == '?' || next == '!') {
      const std::size_t close = head.find(next == '?' ? "?>" : ">", at);
      if (close == std::string::npos) break;
      at = close;
      continue;
    }
    std::size_t end = at + 1;
    while (end < head.size() && !is_space(head[end]) && head[end] != '>' &&
           head[end] != '/') {
      ++end;
    }
    std::string name = head.substr(at + 1, end - at - 1);
    const std::size_t colon = name.rfind(':');
    if (colon != std::string::npos) name.erase(0, colon + 1);
    if (name == "LandXML") return "";
    return not_landxml + "the first element is <" + excerpt(name.c_str()) + ">";
  }
  return not_landxml +
         (head.empty() ? "the file is empty" : "no element in its first 64 KiB");
}

bool has_landxml_root(const std::string& path) {
  return landxml_root_fault(path).empty();
}

std::string landxml_unit_name(std::int32_t type, int power) {
  for (const UnitName& unit : kUnitNames) {
    if (unit.type == type && unit.power == power) return unit.name;
  }
  return "";
}

}  // namespace gvk_landxml
