#include "engine/rules/pathname_rules.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace varnock::engine {
namespace {

using Six = std::array<int32_t, 6>;

TEST(ZUpath, PartsFromTheFirstSlash) {
  PathnameParts p{};
  ASSERT_EQ(SplitPathname("/BASIN/LOC/FLOW/01JAN2001/1HOUR/OBS/", &p), 0);
  EXPECT_EQ(p.begin, (Six{2, 8, 12, 17, 27, 33}));
  EXPECT_EQ(p.end, (Six{6, 10, 15, 25, 31, 35}));
  EXPECT_EQ(p.length, (Six{5, 3, 4, 9, 5, 3}));
  // Text before the first slash and after the seventh is skipped; no character rules.
  ASSERT_EQ(SplitPathname("ab/a b/\x01//D/E/F/ junk/   ", &p), 0);
  EXPECT_EQ(p.begin, (Six{4, 8, 10, 11, 13, 15}));
  EXPECT_EQ(p.length, (Six{3, 1, 0, 1, 1, 1}));
  EXPECT_EQ(p.end[2], 10);  // an empty part points at its closing slash
  ASSERT_EQ(SplitPathname("///////", &p), 0);
  EXPECT_EQ(p.begin, (Six{2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(p.end, p.begin);

  p.begin.fill(-7);
  for (const char* bad : {"", "A B C D E F", "/A/B/C/D/E/F", "/A/B/C/D/E/F "}) {
    EXPECT_EQ(SplitPathname(bad, &p), -1) << bad;
  }
  EXPECT_EQ(p.begin, (Six{-7, -7, -7, -7, -7, -7}));
}

// The length defaults to the whole text.
int32_t Check(std::string text, int32_t length = INT32_MIN) {
  return CheckPathname(text, length == INT32_MIN ? static_cast<int32_t>(text.size()) : length);
}

TEST(ZChkpn, StatusesInTheirOrder) {
  std::string longest = "/" + std::string(64, 'A');
  for (int i = 0; i < 5; ++i)
    longest += "/" + std::string(64, 'B');
  longest += "C/";
  ASSERT_EQ(longest.size(), 392u);
  for (const std::string& valid : {std::string("/A/B/C/D/E/F/"), std::string("///////"),
                                   std::string("/a b/C/D/E/F/G H/"), longest}) {
    EXPECT_EQ(Check(valid), 0) << valid;
  }
  EXPECT_EQ(Check("//////", 6), -4);
  EXPECT_EQ(Check("/A/B/C/D/E/F/", -3), -4);
  EXPECT_EQ(Check(longest + "/"), -5);
  EXPECT_EQ(Check("/A/B/C/D/E/F/", 14), -5);  // beyond the buffer
  EXPECT_EQ(Check("A/B/C/D/E/F/G"), -1);      // -1 before -2
  EXPECT_EQ(Check("/A/B/C/D/E/F/   "), -2);   // the length is literal
  EXPECT_EQ(Check("/A/B/C/D/E/F/   ", 13), 0);
  EXPECT_EQ(Check("/A\tB/C/"), -6);  // -6 before -3
  EXPECT_EQ(Check("/A/B/C/D/E/F\x80/"), -6);
  EXPECT_EQ(Check("/A/B/C/D/E/F\x7f/"), -6);
  EXPECT_EQ(Check("/A/B/C/D/E/F/G/"), -3);

  // NULs become blanks, but only within the range of a path that passes everything else.
  std::string path("/A\0B/C/D/E/F/G/\0", 16);
  EXPECT_EQ(CheckPathname(path, 15), 6);
  EXPECT_EQ(path, std::string("/A B/C/D/E/F/G/\0", 16));
  std::string bad("/A\0B/C/", 7);
  EXPECT_EQ(CheckPathname(bad, 7), -3);
  EXPECT_EQ(bad, std::string("/A\0B/C/", 7));
}

struct Parts {
  std::array<std::string, 6> text;
  Six lengths{};
  explicit Parts(std::size_t width = 8) { text.fill(std::string(width, '*')); }
  Parts& Split(std::string_view line) {
    SplitPartString(line, {text[0], text[1], text[2], text[3], text[4], text[5]}, &lengths);
    return *this;
  }
};

TEST(ZGpnp, KeywordFields) {
  Parts f(12);
  f.Split("A=BASIN B=SOUTH FORK F=");
  EXPECT_EQ(f.lengths, (Six{5, 10, -1, -1, -1, 0}));
  EXPECT_EQ(f.text[1], "SOUTH FORK  ");
  EXPECT_EQ(f.text[2], std::string(12, '*'));  // not named: untouched
  EXPECT_EQ(f.text[5], std::string(12, ' '));

  Parts g;
  g.Split("C=FLOW,D=01JAN,E = X,F=  OBS  ");
  EXPECT_EQ(g.lengths, (Six{-1, -1, 4, 5, 2, 5}));
  EXPECT_EQ(g.text[4], " X      ");  // one blank may precede "="; the one after it is value
  EXPECT_EQ(g.text[5], "  OBS   ");

  EXPECT_EQ(Parts().Split("A=ONE B=X A=TWO").text[0], "TWO     ");  // the last one wins
  // A value runs on over text that is no field, but stops before a lower-case field.
  EXPECT_EQ(Parts(16).Split("A=X ZR=IN b=Q").lengths[0], 7);
  EXPECT_EQ(Parts(4).Split("B=LONGVALUE").text[1], "LONG");

  for (const char* none : {"/A/B/C/D/E/F/", "ZR=IN", "a=x b=y", "G=1", "=A", "A  =X", ""}) {
    Parts n;
    n.Split(none);
    EXPECT_EQ(n.lengths, (Six{-10, -1, -1, -1, -1, -1})) << none;
    EXPECT_EQ(n.text[0], std::string(8, '*')) << none;
  }

  Parts keep;
  keep.lengths = {-2, 7, -2, 0, 0, 0};
  keep.Split("A=NEW B=NEW C=NEW");
  EXPECT_EQ(keep.lengths, (Six{-2, 3, -2, -1, -1, -1}));
  EXPECT_EQ(keep.text[0], std::string(8, '*'));

  // Only the first twelve "=" are looked at.
  const std::string eleven = "Z=1 Z=2 Z=3 Z=4 Z=5 Z=6 Z=7 Z=8 Z=9 Z=10 Z=11 ";
  EXPECT_EQ(Parts().Split(eleven + "A=12").lengths[0], 2);
  EXPECT_EQ(Parts().Split(eleven + "Z=12 A=13").lengths[0], -10);
}

}  // namespace
}  // namespace varnock::engine
