// Text layouts HEC is known to write, and the codecs' refusal of damaged counts.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <functional>

#include "engine/dss7/test_support.h"
#include "engine/records/paired/dump_lines.h"
#include "engine/records/paired/paired_codec.h"
#include "engine/records/paired/record_io.h"
#include "engine/records/paired/text_codec.h"

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

// Paired-data layouts are checked byte for byte against fixture7.dss; text tables have no
// reference record, so against the shapes HEC is known to write.
TEST(PairedCodec, TextLayoutsMatchHecsConfirmedRecords) {
  EncodedRecord e;
  TextData text;
  text.text = "Hello world";
  ASSERT_EQ(EncodeText(text, &e), Status::kOk);
  // HEC counts the NUL after a C string (fixture7's text record shows it).
  EXPECT_EQ(e.areas[dss7::kInternalHeader], (std::vector<int32_t>{12, 0, 0, 0, 0, 0}));
  EXPECT_EQ(e.areas[dss7::kValues1].size(), 3u);
  text = {};
  text.rows = text.columns = 2;
  text.cells = {"r1c1", "r1c2", "r2c1", "r2c2"};
  text.column_labels = {"c1", "c2"};
  ASSERT_EQ(EncodeText(text, &e), Status::kOk);
  EXPECT_EQ(e.areas[dss7::kInternalHeader], (std::vector<int32_t>{0, 20, 6, 2, 2, 0}));
  EXPECT_EQ(e.type, kTextTable);
  EXPECT_EQ(e.areas[dss7::kValues2].size(), 5u);
  EXPECT_EQ(e.areas[dss7::kHeader2].size(), 2u);
  text.text = "\"\\\t\x01\xff"s;
  TextData back;
  ASSERT_EQ(EncodeText(text, &e), Status::kOk);
  ASSERT_EQ(DecodeText(AsRecord(e), &back), Status::kOk);
  const std::string want = "text \"\\\"\\\\\\t\\x01\\xFF\"\ntable_rows 2\ntable_cols 2\n";
  EXPECT_EQ(TextDumpLines(back, e.type).substr(0, want.size()), want);
  EXPECT_EQ(back.Cell(1, 0), "r2c1");
  EXPECT_EQ(back.column_labels, text.column_labels);
}

// The oldest DSS-7 libraries (7-F and before) wrote units and types behind a blank, unpadded
// from int 5; HEC's reading shows them without it. Files from 7-G on keep strings as stored.
TEST(PairedCodec, OldLibrariesUnitsAndTypesLoseTheirLeadingBlank) {
  PairedData d;
  d.ordinates = {1, 2};
  d.curve_count = 1;
  d.values = {10, 20};
  EncodedRecord e;
  ASSERT_EQ(EncodePaired(d, &e), Status::kOk);
  auto& header = e.areas[dss7::kInternalHeader];
  header.resize(pd_header::kFiller);
  const std::string old_strings = " FEET\0 UNT\0 CFS\0 LOG\0\0\0\0"s;  // 24 bytes
  header.resize(pd_header::kFiller + old_strings.size() / 4);
  std::memcpy(header.data() + pd_header::kFiller, old_strings.data(), old_strings.size());
  struct Case {
    const char* version;
    int full;
    std::array<const char*, 4> strings;
  };
  const Case cases[] = {
      {"7-EB", 70502, {"FEET", "UNT", "CFS", "LOG"}},
      {"7-FW", 70623, {"FEET", "UNT", "CFS", "LOG"}},
      {"7-GA", 70701, {" FEET", " UNT", " CFS", " LOG"}},
      {"7-JA", 71001, {" FEET", " UNT", " CFS", " LOG"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.version);
    // Through the codec with the file's version, and through a file that carries it.
    PairedData direct;
    ASSERT_EQ(DecodePaired(AsRecord(e), &direct, c.full), Status::kOk);
    auto file = dss7::testing::CreateMemoryWithVersion(c.version);
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(file->version().full, c.full);
    ASSERT_EQ(file->Store("/A/B/STAGE-FLOW///OLD/", e.View()), Status::kOk);
    PairedData read;
    ASSERT_EQ(ReadPairedData(*file, "/A/B/STAGE-FLOW///OLD/", &read), Status::kOk);
    for (const PairedData* got : {&direct, &read}) {
      EXPECT_EQ(got->units_independent, c.strings[0]);
      EXPECT_EQ(got->type_independent, c.strings[1]);
      EXPECT_EQ(got->units_dependent, c.strings[2]);
      EXPECT_EQ(got->type_dependent, c.strings[3]);
      EXPECT_EQ(got->values, d.values);
    }
  }
}

TEST(PairedCodec, DamagedCountsGiveStatuses) {
  PairedData d;
  d.ordinates = {1, 2, 3};
  d.curve_count = 2;
  d.values.assign(6, 1);
  d.labels = {"low", "high"};  // 9 bytes in 4 ints
  TextData t;
  t.text = "abc";
  t.rows = 2;
  t.columns = 1;
  t.cells = {"1", "2"};  // 4 bytes
  t.column_labels = {"n"};
  EncodedRecord pd, text;
  ASSERT_EQ(EncodePaired(d, &pd), Status::kOk);
  ASSERT_EQ(EncodeText(t, &text), Status::kOk);
  using Breaker = std::function<void(dss7::Record&)>;
  auto header = [](int index, int32_t value) -> Breaker {
    return [=](dss7::Record& r) { r.areas[dss7::kInternalHeader][size_t(index)] = value; };
  };
  const std::pair<const EncodedRecord*, Breaker> cases[] = {
      {&pd, [](dss7::Record& r) { r.areas[dss7::kInternalHeader].resize(4); }},
      {&pd, header(pd_header::kOrdinates, -1)},
      {&pd, header(pd_header::kOrdinates, 4)},
      {&pd, header(pd_header::kCurves, 0x7fffffff)},
      {&pd, header(pd_header::kLabelBytes, 17)},
      {&pd, [](dss7::Record& r) { r.areas[dss7::kValues2].pop_back(); }},
      {&pd, [](dss7::Record& r) { r.info.type = kPairedDouble; }},
      {&text, header(text_header::kTextBytes, 5)},
      {&text, header(text_header::kTableBytes, -1)},
      {&text, header(text_header::kLabelBytes, 5)},
      {&text, header(text_header::kRows, 5)},
      {&text, header(text_header::kColumns, 0x7fffffff)},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(i);
    const auto& [encoded, breaker] = cases[i];
    dss7::Record r = AsRecord(*encoded);
    breaker(r);
    const Status s = encoded == &pd ? DecodePaired(r, &d) : DecodeText(r, &t);
    EXPECT_EQ(s, Status::kDamaged);
  }
  dss7::Record series = AsRecord(pd);
  series.info.type = 100;
  EXPECT_EQ(DecodePaired(series, &d), Status::kTypeMismatch);
  EXPECT_EQ(DecodeText(series, &t), Status::kTypeMismatch);
  d.values.pop_back();
  EXPECT_EQ(EncodePaired(d, &pd), Status::kInvalidArgument);
}

}  // namespace
}  // namespace varnock::engine::paired
