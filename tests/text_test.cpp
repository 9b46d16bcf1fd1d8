#include <gravok/text.h>

#include "text_reference.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <locale>
#include <random>
#include <string>
#include <vector>

namespace {

// A wide string of the given UTF-16 units.
std::wstring units(std::initializer_list<unsigned> values) {
  std::wstring text;
  for (unsigned v : values) text += static_cast<wchar_t>(v);
  return text;
}

// The code of every element, for readable failure messages.
std::vector<std::uint32_t> codes(const std::wstring& text) {
  return std::vector<std::uint32_t>(text.begin(), text.end());
}

TEST(ToUtf8, EncodesEachUnitByItselfUpToTheFirstZero) {
  struct Case {
    std::wstring in;
    std::string out;
  };
  const Case cases[] = {
      {L"", ""},
      {units({0x41}), "\x41"},
      {units({0x7F}), "\x7F"},
      {units({0x80}), "\xC2\x80"},
      {units({0xE9}), "\xC3\xA9"},
      {units({0x7FF}), "\xDF\xBF"},
      {units({0x800}), "\xE0\xA0\x80"},
      {units({0x20AC}), "\xE2\x82\xAC"},
      {units({0xFFFF}), "\xEF\xBF\xBF"},
      {units({0xD800}), "\xED\xA0\x80"},
      {units({0xD83D, 0xDE00}), "\xED\xA0\xBD\xED\xB8\x80"},
      {units({0x61, 0xE9, 0x20AC, 0x62}), "a\xC3\xA9\xE2\x82\xAC\x62"},
      {units({0x61, 0, 0x62}), "a"},
      {units({0, 0x61}), ""},
      {units({0xE9, 0, 0xE9}), "\xC3\xA9"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(codes(c.in)));
    EXPECT_EQ(gvk::to_utf8(c.in), c.out);
  }
}

TEST(ToUtf8, WideElementsBecomeSurrogatesOrReplacement) {
  if (sizeof(wchar_t) < 4) GTEST_SKIP() << "wchar_t holds 16 bits here";
  struct Case {
    std::uint32_t element;
    std::string out;
  };
  const Case cases[] = {
      {0x1F600, "\xED\xA0\xBD\xED\xB8\x80"},   // D83D DE00
      {0x10000, "\xED\xA0\x80\xED\xB0\x80"},   // D800 DC00
      {0x10FFFF, "\xED\xAF\xBF\xED\xBF\xBF"},  // DBFF DFFF
      {0x110000, "\xEF\xBF\xBD"},
      {0x7FFFFFFF, "\xEF\xBF\xBD"},
      {0xFFFFFFFF, "\xEF\xBF\xBD"},  // a negative wchar_t
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.element);
    EXPECT_EQ(gvk::to_utf8(std::wstring(1, static_cast<wchar_t>(c.element))), c.out);
  }
}

TEST(FromUtf8, DecodesByTheByteThatBeginsEachStep) {
  struct Case {
    std::string in;
    std::wstring out;
  };
  const Case cases[] = {
      {"", L""},
      {"A", units({0x41})},
      {"\xC3\xA9", units({0xE9})},
      {"\xE2\x82\xAC", units({0x20AC})},
      {"\xEF\xBF\xBF", units({0xFFFF})},
      {"\xED\xA0\xBD\xED\xB8\x80", units({0xD83D, 0xDE00})},
      // A stray continuation byte is a two-byte lead and swallows the next byte.
      {"\x80\x41", units({0x0001})},
      // A four-byte sequence gives two units by the two-byte rule.
      {"\xF0\x9F\x98\x80", units({0x041F, 0x0600})},
      {std::string("ab\0cd", 5), units({0x61, 0x62})},
      // After a longer sequence too: a 0 byte ends the text, a 1 byte is a character.
      {std::string("\xC3\xA9\0b", 4), units({0xE9})},
      {"\xC3\xA9\x01"
       "b",
       units({0xE9, 0x01, 0x62})},
      // Cut off by the end: the missing bytes count as 0.
      {"\xC3", units({0xC0})},
      {"\xE2", units({0x2000})},
      {"\xE2\x82", units({0x2080})},
      {"a\xF0", units({0x61, 0x0400})},
      // Continuation bytes are not checked, a 0 among them included.
      {std::string("\xC3\0A", 3), units({0xC0, 0x41})},
      {std::string("\xE2\0\0B", 4), units({0x2000, 0x42})},
      {"\xC3\x41", units({0xC1})},
      // Overlong forms are accepted, even the one that gives a 0 unit.
      {"\xC0\x80", units({0x0000})},
      {"\xE0\x81\x81", units({0x0041})},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.in));
    EXPECT_EQ(codes(gvk::from_utf8(c.in)), codes(c.out));
  }
}

// The word-at-a-time paths must hand over to the byte loop exactly where a run of
// ASCII ends, wherever in a word that falls.
TEST(TextFastPaths, AgreeWithThePlainByteLoopAtEveryPlaceOfAnAsciiRun) {
  const std::string narrow[] = {std::string(1, '\0'), "\x7F\x80", "\xC3\xA9",
                                "\xE2\x82\xAC", "\xE2"};
  const std::wstring wide[] = {units({0}), units({0x7F, 0x80}), units({0x20AC}),
                               units({0xD83D})};
  for (std::size_t at = 0; at <= 40; ++at) {
    SCOPED_TRACE(at);
    for (const std::string& inserted : narrow) {
      const std::string text =
          std::string(at, 'x') + inserted + std::string(40 - at, 'y');
      EXPECT_EQ(codes(gvk::from_utf8(text)), codes(reference::from_utf8(text)));
    }
    for (const std::wstring& inserted : wide) {
      const std::wstring text =
          std::wstring(at, L'x') + inserted + std::wstring(40 - at, L'y');
      EXPECT_EQ(gvk::to_utf8(text), reference::to_utf8(text));
    }
  }
}

TEST(TextRoundTrip, RandomUnitStringsSurviveBothWays) {
  std::mt19937 random(20240611);
  std::uniform_int_distribution<unsigned> unit(1, 0xFFFF);
  std::uniform_int_distribution<unsigned> ascii(1, 0x7F);
  for (int round = 0; round < 3000; ++round) {
    std::wstring text(random() % 81, L'\0');
    const bool mostly_ascii = round % 2 == 0;
    for (wchar_t& w : text) {
      w = static_cast<wchar_t>(mostly_ascii && random() % 8 ? ascii(random)
                                                            : unit(random));
    }
    ASSERT_EQ(codes(gvk::from_utf8(gvk::to_utf8(text))), codes(text))
        << "round " << round;
  }
}

// Short texts of random bytes, most of them high: stray continuations, cut-off
// sequences, zeros. Then long runs of ASCII with lead bytes sprinkled in, so that the
// runs and the converter's output chunks end at every kind of step.
TEST(FromUtf8, AgreesWithThePlainByteLoopOnRandomBytes) {
  std::mt19937 random(7);
  for (int round = 0; round < 20000; ++round) {
    std::string bytes(random() % 72, '\0');
    for (char& b : bytes) {
      const unsigned pick = random() % 16;
      b = static_cast<char>(pick < 5    ? 'a' + random() % 26
                            : pick == 5 ? (random() % 4 ? 0x7F : 0)
                                        : 0x80 + random() % 0x80);
    }
    ASSERT_EQ(codes(gvk::from_utf8(bytes)), codes(reference::from_utf8(bytes)))
        << testing::PrintToString(bytes);
  }
  for (int round = 0; round < 200; ++round) {
    std::string bytes(2000 + random() % 9000, 'q');
    for (int k = 0; k < 40; ++k)
      bytes[random() % bytes.size()] = static_cast<char>(0xC0 + random() % 0x40);
    ASSERT_EQ(codes(gvk::from_utf8(bytes)), codes(reference::from_utf8(bytes)));
  }
}

// As above for the elements of wide strings, up to beyond 0x10FFFF where wchar_t
// holds 32 bits.
TEST(ToUtf8, AgreesWithThePlainLoopOnRandomElements) {
  std::mt19937 random(13);
  const std::uint32_t widest = sizeof(wchar_t) >= 4 ? 0x120000 : 0xFFFF;
  for (int round = 0; round < 20000; ++round) {
    std::wstring text(random() % 72, L'\0');
    for (wchar_t& w : text) {
      const unsigned pick = random() % 8;
      w = static_cast<wchar_t>(pick < 4   ? random() % 0x80
                               : pick < 6 ? random() % 0x10000
                                          : random() % (widest + 1));
    }
    ASSERT_EQ(gvk::to_utf8(text), reference::to_utf8(text)) << "round " << round;
  }
  for (int round = 0; round < 200; ++round) {
    std::wstring text(2000 + random() % 9000, L'q');
    for (int k = 0; k < 300; ++k)
      text[random() % text.size()] =
          static_cast<wchar_t>(0x80 + random() % (widest - 0x7F));
    ASSERT_EQ(gvk::to_utf8(text), reference::to_utf8(text)) << "round " << round;
  }
}

TEST(ToLowerCase, ClassicLocaleChangesOnlyAsciiCapitals) {
  std::string all(256, '\0');
  for (int b = 0; b < 256; ++b) all[b] = static_cast<char>(b);
  const std::string lower = gvk::to_lower_case(all);
  ASSERT_EQ(lower.size(), all.size());
  for (int b = 0; b < 256; ++b) {
    const int expected = b >= 'A' && b <= 'Z' ? b + ('a' - 'A') : b;
    EXPECT_EQ(static_cast<unsigned char>(lower[b]), expected) << "byte " << b;
  }
  EXPECT_EQ(gvk::to_lower_case(""), "");
}

// A ctype facet that also lowers the Latin-1 capital E with acute, 0xC9.
class LatinLower : public std::ctype<char> {
 protected:
  char do_tolower(char c) const override {
    return c == '\xC9' ? '\xE9' : std::ctype<char>::do_tolower(c);
  }
  const char* do_tolower(char* low, const char* high) const override {
    for (; low < high; ++low) *low = do_tolower(*low);
    return high;
  }
};

TEST(ToLowerCase, FollowsTheGlobalLocaleInForceAtTheCall) {
  const std::locale previous =
      std::locale::global(std::locale(std::locale::classic(), new LatinLower));
  const std::string lowered = gvk::to_lower_case("\xC9T\xC9");
  std::locale::global(previous);
  EXPECT_EQ(lowered, "\xE9t\xE9");
  EXPECT_EQ(gvk::to_lower_case("\xC9T"), "\xC9t");
}

}  // namespace
