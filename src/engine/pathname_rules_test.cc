#include "engine/pathname_rules.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace varnock::engine {
namespace {

using Six = std::array<int32_t, 6>;

TEST(ZUpath, FindsSixPartsFromTheFirstSlash) {
  PathnameParts p{};
  ASSERT_EQ(SplitPathname("/BASIN/LOC/FLOW/01JAN2001/1HOUR/OBS/", &p), 0);
  EXPECT_EQ(p.begin, (Six{2, 8, 12, 17, 27, 33}));
  EXPECT_EQ(p.end, (Six{6, 10, 15, 25, 31, 35}));
  EXPECT_EQ(p.length, (Six{5, 3, 4, 9, 5, 3}));

  // Text before the first slash and after the seventh is skipped; trailing blanks ignored.
  ASSERT_EQ(SplitPathname("ab/A/B//D/E/F/ junk/   ", &p), 0);
  EXPECT_EQ(p.begin, (Six{4, 6, 8, 9, 11, 13}));
  EXPECT_EQ(p.length, (Six{1, 1, 0, 1, 1, 1}));
  EXPECT_EQ(p.end[2], 8);  // empty part: begin = end = its closing slash

  ASSERT_EQ(SplitPathname("///////", &p), 0);
  EXPECT_EQ(p.begin, (Six{2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(p.end, p.begin);
  EXPECT_EQ(p.length, (Six{}));

  // No character rules at all.
  EXPECT_EQ(SplitPathname("/a b/\x01/c/d/e/f/", &p), 0);
}

TEST(ZUpath, TooFewSlashesLeavesThePartsAlone) {
  PathnameParts p{};
  p.begin.fill(-7);
  EXPECT_EQ(SplitPathname("", &p), -1);
  EXPECT_EQ(SplitPathname("A B C D E F", &p), -1);
  EXPECT_EQ(SplitPathname("/A/B/C/D/E/F", &p), -1);
  EXPECT_EQ(SplitPathname("/A/B/C/D/E/F ", &p), -1);
  EXPECT_EQ(p.begin, (Six{-7, -7, -7, -7, -7, -7}));
}

// The length defaults to the whole text.
int32_t Check(std::string text, int32_t length = INT32_MIN) {
  return CheckPathname(text, length == INT32_MIN ? static_cast<int32_t>(text.size()) : length);
}

TEST(ZChkpn, StatusesInTheirOrder) {
  EXPECT_EQ(Check("/A/B/C/D/E/F/"), 0);
  EXPECT_EQ(Check("///////"), 0);
  EXPECT_EQ(Check("/a b/C/D/E/F/G H/"), 0);  // case and blanks are not checked
  EXPECT_EQ(Check("//////", 6), -4);
  EXPECT_EQ(Check("/A/B/C/D/E/F/", -3), -4);
  EXPECT_EQ(Check(std::string(393, '/')), -5);
  EXPECT_EQ(Check("/A/B/C/D/E/F/", 14), -5);  // beyond the buffer
  EXPECT_EQ(Check("A/B/C/D/E/F/G"), -1);      // -1 wins over -2
  EXPECT_EQ(Check("/A/B/C/D/E/F/   "), -2);   // the length is literal
  EXPECT_EQ(Check("/A/B/C/D/E/F/   ", 13), 0);
  EXPECT_EQ(Check("/A\tB/C/"), -6);  // -6 wins over -3
  EXPECT_EQ(Check("/A/B/C/D/E/F\x80/"), -6);
  EXPECT_EQ(Check("/A/B/C/D/E/F\x7f/"), -6);
  EXPECT_EQ(Check("/A/B/C/D/E/F/G/"), -3);
  EXPECT_EQ(Check("/A/B/C/D/E/"), -3);
  // 392 characters with seven slashes is the longest accepted.
  std::string longest = "/" + std::string(64, 'A');
  for (int i = 0; i < 5; ++i)
    longest += "/" + std::string(64, 'B');
  longest += std::string(392 - longest.size() - 1, 'C') + "/";
  EXPECT_EQ(Check(longest), 0);
}

TEST(ZChkpn, NulsBecomeBlanksOnlyInAnOtherwiseValidPath) {
  std::string path("/A\0B/C/D/E/F/G/", 15);
  EXPECT_EQ(CheckPathname(path, 15), 6);
  EXPECT_EQ(path, "/A B/C/D/E/F/G/");

  std::string bad("/A\0B/C/", 7);
  EXPECT_EQ(CheckPathname(bad, 7), -3);
  EXPECT_EQ(bad, std::string("/A\0B/C/", 7));

  // Only the checked range is touched.
  std::string tail("/A/B/C/D/E/F/\0", 14);
  EXPECT_EQ(CheckPathname(tail, 13), 0);
  EXPECT_EQ(tail.back(), '\0');
}

struct PartFields {
  std::array<std::string, 6> text;
  Six lengths{};
  explicit PartFields(std::size_t width = 8) { text.fill(std::string(width, '*')); }
  void Split(std::string_view line) {
    SplitPartString(line,
                    {std::span<char>(text[0]), std::span<char>(text[1]), std::span<char>(text[2]),
                     std::span<char>(text[3]), std::span<char>(text[4]), std::span<char>(text[5])},
                    &lengths);
  }
};

TEST(ZGpnp, KeywordFields) {
  PartFields f(12);
  f.Split("A=BASIN B=SOUTH FORK F=");
  EXPECT_EQ(f.lengths, (Six{5, 10, -1, -1, -1, 0}));
  EXPECT_EQ(f.text[0], "BASIN       ");
  EXPECT_EQ(f.text[1], "SOUTH FORK  ");
  EXPECT_EQ(f.text[2], std::string(12, '*'));  // not named: untouched
  EXPECT_EQ(f.text[5], std::string(12, ' '));

  PartFields g;
  g.Split("C=FLOW,D=01JAN,E = X,F=  OBS  ");
  EXPECT_EQ(g.lengths, (Six{-1, -1, 4, 5, 2, 5}));
  EXPECT_EQ(g.text[3], "01JAN   ");
  EXPECT_EQ(g.text[5], "  OBS   ");  // leading blanks kept and counted
  EXPECT_EQ(g.text[4], " X      ");  // one blank may precede the "="; the one after it is kept

  PartFields last;
  last.Split("A=ONE B=X A=TWO");
  EXPECT_EQ(last.lengths, (Six{3, 1, -1, -1, -1, -1}));
  EXPECT_EQ(last.text[0], "TWO     ");
}

TEST(ZGpnp, FieldsThatDoNotCount) {
  for (const char* line : {"/A/B/C/D/E/F/", "ZR=IN", "a=x b=y", "G=1", "=A", "A  =X", ""}) {
    PartFields f;
    f.Split(line);
    EXPECT_EQ(f.lengths, (Six{-10, -1, -1, -1, -1, -1})) << line;
    EXPECT_EQ(f.text[0], std::string(8, '*')) << line;
  }
  // A value runs on over text that is no field, but stops before a lower-case field.
  PartFields f(16);
  f.Split("A=X ZR=IN b=Q");
  EXPECT_EQ(f.lengths[0], 7);
  EXPECT_EQ(f.text[0].substr(0, 7), "X ZR=IN");
}

TEST(ZGpnp, InputLengthsAndLimits) {
  PartFields f;
  f.lengths = {-2, 7, -2, 0, 0, 0};
  f.Split("A=NEW B=NEW C=NEW");
  EXPECT_EQ(f.lengths, (Six{-2, 3, -2, -1, -1, -1}));
  EXPECT_EQ(f.text[0], std::string(8, '*'));
  EXPECT_EQ(f.text[2], std::string(8, '*'));

  PartFields narrow(4);
  narrow.Split("B=LONGVALUE");
  EXPECT_EQ(narrow.lengths[1], 4);
  EXPECT_EQ(narrow.text[1], "LONG");

  // Only the first twelve "=" are looked at.
  PartFields many;
  many.Split("Z=1 Z=2 Z=3 Z=4 Z=5 Z=6 Z=7 Z=8 Z=9 Z=10 Z=11 Z=12 A=13");
  EXPECT_EQ(many.lengths[0], -10);
  many.Split("Z=1 Z=2 Z=3 Z=4 Z=5 Z=6 Z=7 Z=8 Z=9 Z=10 Z=11 A=12");
  EXPECT_EQ(many.lengths[0], 2);
}

}  // namespace
}  // namespace varnock::engine
