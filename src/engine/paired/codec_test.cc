// The record codecs against the layouts HEC's library is known to write, and their refusal of
// inconsistent data and damaged records.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "engine/paired/area_bytes.h"
#include "engine/paired/dump_lines.h"
#include "engine/paired/paired_codec.h"
#include "engine/paired/text_codec.h"

namespace varnock::engine::paired {
namespace {

using dss7::Status;
using namespace std::literals;

dss7::Record AsRecord(const EncodedRecord& e) {
  dss7::Record r;
  r.info.type = e.type;
  r.areas = e.areas;
  return r;
}

PairedData TwoCurves() {
  PairedData d;
  d.ordinates = {1.0, 2.0, 3.0};
  d.curve_count = 2;
  d.values = {10.0, 20.0, 30.0, 0.1, 0.2, 0.3};
  d.units_independent = "ft";
  d.type_independent = "Linear";
  d.units_dependent = "cfs";
  d.type_dependent = "Linear";
  d.labels = {"low", "high"};
  return d;
}

TEST(PairedStrings, PackedAsHecPacksThem) {
  const std::string_view one[] = {"cfs", "PER-CUM", "INST-VAL", "", "ft  ", "a\0b"sv};
  EXPECT_EQ(PackStrings(one),
            "cfs    \0"s
            "PER-CUM\0"s
            "INST-VAL       \0"s
            "       \0"s
            "ft     \0"s
            "a      \0"s);
}

TEST(PairedStrings, UnpackedFromCurrentAndOlderLayouts) {
  using V = std::vector<std::string>;
  EXPECT_EQ(UnpackStrings("ft     \0Linear \0       \0"s, 4), (V{"ft", "Linear", "", ""}));
  EXPECT_EQ(UnpackStrings("FEET\0UNT\0CFS\0UNT\0\0\0\0"s, 5), (V{"FEET", "UNT", "CFS", "UNT", ""}));
  // sample7.dss: HEC reads no strings after an empty one, so these all read as empty.
  EXPECT_EQ(UnpackStrings("\0PROB\0cfs\0LOG\0"s, 4), (V{"", "", "", ""}));
  EXPECT_EQ(UnpackStrings("cfs"s, 2), (V{"cfs", ""}));
  // Labels keep their blanks and may lack the last NUL.
  EXPECT_EQ(SplitStrings(" 5%LIMIT\0\0tail"s, 4), (V{" 5%LIMIT", "", "tail", ""}));
}

TEST(PairedStrings, DoublesNarrowAsIeeeRoundingDoes) {
  const double max = FLT_MAX;
  EXPECT_EQ(ToFloat(max + 0x1p102), FLT_MAX);
  EXPECT_EQ(ToFloat(max + 0x1p103), HUGE_VALF);
  EXPECT_EQ(ToFloat(-1e39), -HUGE_VALF);
  EXPECT_EQ(ToFloat(-max), -FLT_MAX);
  EXPECT_TRUE(std::isnan(ToFloat(NAN)));
  EXPECT_EQ(ToFloat(0.1), 0.1f);
}

TEST(PairedCodec, HeaderLayoutMatchesHecsConfirmedRecord) {
  PairedData d = TwoCurves();
  d.labels = {"abc", "def"};
  d.precision = 12;
  EncodedRecord e;
  ASSERT_EQ(EncodePaired(d, &e), Status::kOk);
  const auto& h = e.areas[dss7::kInternalHeader];
  ASSERT_EQ(h.size(), 16u);
  EXPECT_EQ(std::vector<int32_t>(h.begin(), h.begin() + 6),
            (std::vector<int32_t>{3, 2, 1, 8, 12, kBlankInt}));
  EXPECT_EQ(AreaBytes(std::span(h).subspan(6), 40),
            "ft     \0Linear \0cfs    \0Linear \0       \0"s);
  EXPECT_EQ(AreaBytes(e.areas[dss7::kHeader2], 8), "abc\0def\0"s);
  EXPECT_EQ(e.areas[dss7::kHeader2].size(), 2u);
  EXPECT_EQ(e.areas[dss7::kValues1].size(), 3u);
  EXPECT_EQ(e.areas[dss7::kValues2].size(), 6u);
  EXPECT_EQ(e.type, kPairedFloat);
  EXPECT_EQ(e.data_count, 9);
  // Labels take whole words, zero filled.
  d.labels = {"abcde", "fg"};
  ASSERT_EQ(EncodePaired(d, &e), Status::kOk);
  EXPECT_EQ(e.areas[dss7::kInternalHeader][pd_header::kLabelBytes], 9);
  EXPECT_EQ(AreaBytes(e.areas[dss7::kHeader2], 99), "abcde\0fg\0\0\0\0\0\0\0\0"s);
}

TEST(PairedCodec, ContentSurvivesEncodeAndDecode) {
  for (bool doubles : {false, true}) {
    PairedData d = TwoCurves();
    d.doubles = doubles;
    d.axis_flag = 2;
    d.precision = 23;
    d.time_zone = "UTC";
    d.user_header = {7, -8};
    EncodedRecord e;
    ASSERT_EQ(EncodePaired(d, &e), Status::kOk);
    EXPECT_EQ(e.type, doubles ? kPairedDouble : kPairedFloat);
    PairedData back;
    ASSERT_EQ(DecodePaired(AsRecord(e), &back), Status::kOk);
    EXPECT_EQ(back.doubles, doubles);
    EXPECT_EQ(back.ordinates, d.ordinates);
    EXPECT_EQ(back.Value(1, 0), doubles ? 0.1 : static_cast<double>(0.1f));
    EXPECT_EQ(PairedDumpLines(back).substr(0, 60), PairedDumpLines(d).substr(0, 60));
    EXPECT_EQ(back.labels, d.labels);
    EXPECT_EQ(back.axis_flag, 2);
    EXPECT_EQ(back.precision, 23);
    EXPECT_EQ(back.time_zone, "UTC");
    EXPECT_EQ(back.user_header, d.user_header);
  }
}

TEST(PairedCodec, InconsistentDataIsRefused) {
  const std::function<void(PairedData&)> breakers[] = {
      [](PairedData& d) { d.ordinates.clear(); },
      [](PairedData& d) { d.curve_count = 0; },
      [](PairedData& d) { d.values.pop_back(); },
      [](PairedData& d) { d.labels.push_back("third"); },
      [](PairedData& d) { d.units_dependent = std::string(400, 'u'); },
      [](PairedData& d) { d.curve_count = 1 << 30; },
  };
  for (const auto& breaker : breakers) {
    SCOPED_TRACE(&breaker - breakers);
    PairedData d = TwoCurves();
    breaker(d);
    EncodedRecord e;
    EXPECT_EQ(EncodePaired(d, &e), Status::kInvalidArgument);
  }
}

TEST(PairedCodec, DamagedCountsAreReportedNotTrusted) {
  EncodedRecord good;
  ASSERT_EQ(EncodePaired(TwoCurves(), &good), Status::kOk);
  const std::function<void(dss7::Record&)> breakers[] = {
      [](dss7::Record& r) { r.areas[dss7::kInternalHeader].resize(4); },
      [](dss7::Record& r) { r.areas[dss7::kInternalHeader][pd_header::kOrdinates] = -1; },
      [](dss7::Record& r) { r.areas[dss7::kInternalHeader][pd_header::kOrdinates] = 4; },
      [](dss7::Record& r) { r.areas[dss7::kInternalHeader][pd_header::kCurves] = 0x7fffffff; },
      [](dss7::Record& r) { r.areas[dss7::kInternalHeader][pd_header::kLabelBytes] = 17; },
      [](dss7::Record& r) { r.areas[dss7::kValues2].pop_back(); },
      [](dss7::Record& r) { r.info.type = kPairedDouble; },
  };
  for (const auto& breaker : breakers) {
    SCOPED_TRACE(&breaker - breakers);
    dss7::Record r = AsRecord(good);
    breaker(r);
    PairedData d;
    EXPECT_EQ(DecodePaired(r, &d), Status::kDamaged);
  }
  dss7::Record series = AsRecord(good);
  series.info.type = 100;
  PairedData d;
  EXPECT_EQ(DecodePaired(series, &d), Status::kTypeMismatch);
}

TEST(PairedTextCodec, MatchHecsRecords) {
  TextData text;
  text.text = "Hello world";
  EncodedRecord e;
  ASSERT_EQ(EncodeText(text, &e), Status::kOk);
  // The NUL HEC writes after a C string is counted (fixture7's text record shows it).
  EXPECT_EQ(e.areas[dss7::kInternalHeader], (std::vector<int32_t>{12, 0, 0, 0, 0, 0}));
  EXPECT_EQ(e.areas[dss7::kValues1].size(), 3u);
  EXPECT_EQ(e.type, kText);
  EXPECT_EQ(e.data_count, 0);

  TextData table;
  table.rows = 2;
  table.columns = 2;
  table.cells = {"r1c1", "r1c2", "r2c1", "r2c2"};
  table.column_labels = {"c1", "c2"};
  ASSERT_EQ(EncodeText(table, &e), Status::kOk);
  EXPECT_EQ(e.areas[dss7::kInternalHeader], (std::vector<int32_t>{0, 20, 6, 2, 2, 0}));
  EXPECT_EQ(e.type, kTextTable);
  EXPECT_EQ(e.areas[dss7::kValues2].size(), 5u);
  EXPECT_EQ(e.areas[dss7::kHeader2].size(), 2u);
  EXPECT_TRUE(e.areas[dss7::kValues1].empty());

  table.columns = 1;
  table.cells.resize(2);
  table.column_labels.resize(1);
  ASSERT_EQ(EncodeText(table, &e), Status::kOk);
  EXPECT_EQ(e.type, kText);
}

TEST(PairedTextCodec, ContentSurvivesAndDumpsEscaped) {
  TextData t;
  t.text = "a\\b\"c\n\r\t\x01\x7f\xff\0z"s;
  t.rows = 1;
  t.columns = 2;
  t.cells = {"x y", ""};
  t.user_header = {5};
  EncodedRecord e;
  ASSERT_EQ(EncodeText(t, &e), Status::kOk);
  TextData back;
  ASSERT_EQ(DecodeText(AsRecord(e), &back), Status::kOk);
  EXPECT_EQ(back.text, t.text);
  EXPECT_EQ(back.cells, t.cells);
  EXPECT_TRUE(back.column_labels.empty());
  EXPECT_EQ(back.user_header, t.user_header);
  EXPECT_EQ(TextDumpLines(back, e.type),
            "text \"a\\\\b\\\"c\\n\\r\\t\\x01\\x7F\\xFF\\x00z\"\n"
            "table_rows 1\ntable_cols 2\ncell 1 1 \"x y\"\ncell 1 2 \"\"\n");
}

TEST(PairedTextCodec, DamagedCountsAreReportedNotTrusted) {
  TextData t;
  t.text = "abc";
  t.rows = 2;
  t.columns = 1;
  t.cells = {"1", "2"};
  t.column_labels = {"n"};
  EncodedRecord good;
  ASSERT_EQ(EncodeText(t, &good), Status::kOk);
  const std::function<void(std::vector<int32_t>&)> breakers[] = {
      [](auto& h) { h.resize(4); },
      [](auto& h) { h[text_header::kTextBytes] = 5; },
      [](auto& h) { h[text_header::kTableBytes] = -1; },
      [](auto& h) { h[text_header::kLabelBytes] = 5; },
      [](auto& h) { h[text_header::kRows] = 5; },
      [](auto& h) { h[text_header::kColumns] = 0x7fffffff; },
      [](auto& h) { h[text_header::kRows] = 0, h[text_header::kColumns] = 3; },
  };
  for (const auto& breaker : breakers) {
    SCOPED_TRACE(&breaker - breakers);
    dss7::Record r = AsRecord(good);
    breaker(r.areas[dss7::kInternalHeader]);
    TextData d;
    EXPECT_EQ(DecodeText(r, &d), Status::kDamaged);
  }
  t.cells.pop_back();
  EXPECT_EQ(EncodeText(t, &good), Status::kInvalidArgument);
}

}  // namespace
}  // namespace varnock::engine::paired
