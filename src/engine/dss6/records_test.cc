#include "engine/dss6/records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "engine/dss6/intervals.h"
#include "engine/rules/dates.h"

namespace varnock::engine::dss6 {
namespace {

int32_t F(float v) {
  int32_t w;
  std::memcpy(&w, &v, 4);
  return w;
}
void PutDouble(std::vector<int32_t>& w, size_t at, double v) {
  std::memcpy(&w[at], &v, 8);
}
void PutText(std::vector<int32_t>& w, size_t at, size_t words, std::string_view text) {
  StoreChars(text, std::span(w).subspan(at, words));
}

// ISO text of an instant in seconds, for readable expectations.
std::string Iso(int64_t seconds) {
  const int64_t days = seconds / 86400;
  const int64_t rest = seconds % 86400;
  const CivilDate d = JulianToYmd(static_cast<int32_t>(days));
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d", static_cast<int>(d.year),
                static_cast<int>(d.month), static_cast<int>(d.day), static_cast<int>(rest / 3600),
                static_cast<int>(rest / 60 % 60));
  return text;
}

container::RecordAreas Regular(std::string path, int32_t n, int32_t offset = 0, int32_t type = 100,
                               bool quality = false) {
  container::RecordAreas r;
  r.info.path = std::move(path);
  r.info.type = type;
  r.info.logical_count = n;
  r.info.quality = quality;
  auto& ih = r.areas[dss7::kInternalHeader];
  ih.assign(regular_header::kWords, 0);
  ih[regular_header::kOffsetMinutes] = offset;
  PutText(ih, regular_header::kUnits, 2, "CFS");
  PutText(ih, regular_header::kType, 2, "INST-VAL");
  PutText(ih, regular_header::kZoneName, 6, "");
  const size_t per = (type == 105 ? 2u : 1u) + (quality ? 1u : 0u);
  auto& data = r.areas[dss7::kValues1];
  data.assign(static_cast<size_t>(n) * per, 0);
  for (int32_t i = 0; i < n; ++i) {
    const float v = static_cast<float>(i) + 0.5f;
    if (type == 105) {
      PutDouble(data, 2 * static_cast<size_t>(i), v);
      if (quality) data[2 * static_cast<size_t>(n) + static_cast<size_t>(i)] = 100 + i;
    } else if (quality) {
      data[2 * static_cast<size_t>(i)] = F(v);
      data[2 * static_cast<size_t>(i) + 1] = 100 + i;
    } else {
      data[static_cast<size_t>(i)] = F(v);
    }
  }
  return r;
}

TEST(Dss6Records, RegularSlotTimesForEveryKindOfInterval) {
  struct Case {
    const char* path;
    int32_t n, offset;
    size_t count;  // values HEC's reader hands back
    const char* first;
    const char* second;
    size_t late_slot;
    const char* late;
  };
  const Case cases[] = {
      {"/A/B/FLOW/01JAN2021/1HOUR/F/", 744, 0, 744, "2021-01-01T01:00", "2021-01-01T02:00", 743,
       "2021-02-01T00:00"},
      {"/A/B/FLOW/01JAN2021/15MIN/F/", 2976, 0, 2976, "2021-01-01T00:15", "2021-01-01T00:30", 95,
       "2021-01-02T00:00"},
      {"/A/B/FLOW/01JAN2020/1DAY/F/", 366, 480, 366, "2020-01-01T08:00", "2020-01-02T08:00", 365,
       "2020-12-31T08:00"},
      {"/A/B/FLOW/15MAR2021/5MIN/F/", 288, 2, 288, "2021-03-15T00:02", "2021-03-15T00:07", 287,
       "2021-03-15T23:57"},
      // Weekly: slots from the Sunday on or before the decade start; HEC reads 521 of 522.
      {"/A/B/FLOW/01JAN2020/1WEEK/F/", 522, 0, 521, "2020-01-05T00:00", "2020-01-12T00:00", 520,
       "2029-12-23T00:00"},
      {"/A/B/FLOW/01JAN2010/1MON/F/", 120, 0, 120, "2010-02-01T00:00", "2010-03-01T00:00", 119,
       "2020-01-01T00:00"},
      // Monthly data stored from the 30th at 06:00: slot k one month earlier plus the offset.
      {"/A/B/FLOW/01JAN2010/1MON/F/", 120, 42120, 120, "2010-01-30T06:00", "2010-03-02T06:00", 2,
       "2010-03-30T06:00"},
      {"/A/B/FLOW/01JAN2010/SEMI-MONTH/F/", 240, 0, 240, "2010-01-16T00:00", "2010-02-01T00:00", 3,
       "2010-03-01T00:00"},
      {"/A/B/FLOW/01JAN2010/TRI-MONTH/F/", 360, 0, 360, "2010-01-11T00:00", "2010-01-21T00:00", 2,
       "2010-02-01T00:00"},
      // A negative offset (tri-monthly data before 2400 of the 10th) is ignored on read.
      {"/A/B/FLOW/01JAN2010/TRI-MONTH/F/", 360, -720, 360, "2010-01-11T00:00", "2010-01-21T00:00",
       2, "2010-02-01T00:00"},
      {"/A/B/FLOW/01JAN1900/1YEAR/F/", 100, 0, 100, "1901-01-01T00:00", "1902-01-01T00:00", 99,
       "2000-01-01T00:00"},
      // Yearly data from 01JUL: HEC adds a day in leap years so they stay on 01JUL.
      {"/A/B/FLOW/01JAN1900/1YEAR/F/", 100, 181 * 1440, 100, "1900-07-01T00:00", "1901-07-01T00:00",
       4, "1904-07-01T00:00"},
  };
  for (const auto& c : cases) {
    series::SeriesRead read;
    ASSERT_EQ(DecodeRegular(Regular(c.path, c.n, c.offset), &read), Status::kOk) << c.path;
    ASSERT_EQ(read.values.size(), c.count) << c.path;
    ASSERT_EQ(read.times.size(), c.count) << c.path;
    EXPECT_EQ(Iso(read.times[0]), c.first) << c.path << " offset " << c.offset;
    EXPECT_EQ(Iso(read.times[1]), c.second) << c.path << " offset " << c.offset;
    EXPECT_EQ(Iso(read.times[c.late_slot]), c.late) << c.path << " offset " << c.offset;
    EXPECT_EQ(read.values[1], 1.5);
    EXPECT_EQ(read.units, "CFS");
    EXPECT_EQ(read.type, "INST-VAL");
  }
}

TEST(Dss6Records, RegularQualityDoublesAndMissingBlocks) {
  struct Case {
    const char* what;
    int32_t type;
    bool quality;
  };
  for (const Case c : {Case{"floats with quality", 100, true}, Case{"doubles", 105, false},
                       Case{"doubles with quality", 105, true}}) {
    series::SeriesRead read;
    ASSERT_EQ(DecodeRegular(Regular("/A/B/C/01JUN2021/6HOUR/F/", 120, 0, c.type, c.quality), &read),
              Status::kOk)
        << c.what;
    EXPECT_EQ(read.values[119], 119.5) << c.what;
    EXPECT_EQ(read.doubles, c.type == 105) << c.what;
    EXPECT_EQ(read.quality_size, c.quality ? 1 : 0) << c.what;
    if (c.quality) {
      EXPECT_EQ(read.quality[119], 219) << c.what;
    }
  }
  // A block of nothing but -901 and -902 reads as "not found", as HEC reports it.
  auto empty = Regular("/A/B/C/01JAN2021/1DAY/F/", 365);
  for (size_t i = 0; i < 365; ++i)
    empty.areas[dss7::kValues1][i] = F(i % 2 ? -901.0f : -902.0f);
  series::SeriesRead read;
  EXPECT_EQ(DecodeRegular(empty, &read), Status::kNotFound);
  empty.areas[dss7::kValues1][364] = F(0.0f);
  EXPECT_EQ(DecodeRegular(empty, &read), Status::kOk);
  EXPECT_EQ(read.values[0], -902.0);
}

TEST(Dss6Records, RegularOlderHeadersAndCompressedData) {
  // The 5-word header of old files: offset, units, type only.
  auto r = Regular("/A/B/C/01JAN2021/1DAY/F/", 365);
  r.areas[dss7::kInternalHeader].resize(5);
  series::SeriesRead read;
  ASSERT_EQ(DecodeRegular(r, &read), Status::kOk);
  EXPECT_EQ(read.units, "CFS");
  // Repeat compression (scheme 1): 365 values, all the same as the first.
  r.info.compression = compression::kRepeat;
  std::vector<uint8_t> h(4 * (compression::kHeaderWords + 12), 0);
  const char marks[][2] = {{0, 'C'}, {8, 'D'}, {21, 'S'}, {25, 'R'}};
  for (const auto& m : marks) {
    h[static_cast<size_t>(m[0])] = static_cast<uint8_t>(m[1]);
    h[static_cast<size_t>(m[0]) + 1] = compression::kVersion;
  }
  h[compression::kScheme] = compression::kRepeat;
  const int32_t n = 365;
  std::memcpy(&h[compression::kValueCount], &n, 4);
  h[compression::kRepeatLengthLow] = 4 * 12 + 8;
  for (size_t i = 1; i < 365; ++i)
    h[compression::kRepeatBits + i / 8] |= static_cast<uint8_t>(1u << (i % 8));
  h[compression::kRepeatBits + 4 * 12 + 1] = 'E';
  r.areas[dss7::kHeader2].assign(h.size() / 4, 0);
  std::memcpy(r.areas[dss7::kHeader2].data(), h.data(), h.size());
  r.areas[dss7::kValues1] = {F(42.25f)};
  ASSERT_EQ(DecodeRegular(r, &read), Status::kOk);
  ASSERT_EQ(read.values.size(), 365u);
  EXPECT_EQ(read.values[364], 42.25);
}

TEST(Dss6Records, DamagedRegularRecordsAreRefused) {
  struct Case {
    const char* what;
    void (*damage)(container::RecordAreas&);
    Status want;
  };
  const Case cases[] = {
      {"wrong type", [](auto& r) { r.info.type = 110; }, Status::kTypeMismatch},
      {"short header", [](auto& r) { r.areas[dss7::kInternalHeader].resize(4); }, Status::kDamaged},
      {"no values", [](auto& r) { r.info.logical_count = 0; }, Status::kDamaged},
      {"more values than data", [](auto& r) { r.info.logical_count = 745; }, Status::kDamaged},
      {"huge count", [](auto& r) { r.info.logical_count = 1 << 30; }, Status::kDamaged},
      {"quality without room", [](auto& r) { r.info.quality = true; }, Status::kDamaged},
      {"unknown E part", [](auto& r) { r.info.path = "/A/B/C/01JAN2021/7HOUR/F/"; },
       Status::kDamaged},
      {"bad D part", [](auto& r) { r.info.path = "/A/B/C/XXJAN2021/1HOUR/F/"; }, Status::kDamaged},
      {"compressed without header", [](auto& r) { r.info.compression = 1; }, Status::kDamaged},
  };
  for (const auto& c : cases) {
    auto r = Regular("/A/B/C/01JAN2021/1HOUR/F/", 744);
    c.damage(r);
    series::SeriesRead read;
    EXPECT_EQ(DecodeRegular(r, &read), c.want) << c.what;
  }
}

TEST(Dss6Records, HecFieldTextKeepsTheCLayersArtefacts) {
  EXPECT_EQ(HecFieldText("CFS     ", kSeriesTextBuffer), "CFS");
  EXPECT_EQ(HecFieldText("        ", kSeriesTextBuffer), std::string(19, ' '));
  EXPECT_EQ(HecFieldText("        ", kPairedTextBuffer), std::string(99, ' '));
  EXPECT_EQ(HecFieldText(std::string("CF\0S    ", 8), kSeriesTextBuffer), "CF");
  EXPECT_EQ(HecFieldText(std::string(8, '\0'), kSeriesTextBuffer), "");
  EXPECT_EQ(HecFieldText(" DEG F  ", kSeriesTextBuffer), " DEG F");
}

container::RecordAreas Irregular(int32_t type, bool quality, int32_t n, int32_t capacity) {
  container::RecordAreas r;
  r.info.path = "/A/B/C/01FEB2021/IR-MONTH/F/";
  r.info.type = type;
  r.info.quality = quality;
  auto& ih = r.areas[dss7::kInternalHeader];
  ih.assign(irregular_header::kWords, 0);
  ih[irregular_header::kCapacity] = capacity;
  ih[irregular_header::kCount] = n;
  ih[irregular_header::kBlockJulian] = 44227;  // 01FEB2021
  PutText(ih, irregular_header::kUnits, 2, "FT");
  PutText(ih, irregular_header::kType, 2, "INST-VAL");
  const size_t step = 2u + (type == 115 ? 1u : 0u) + (quality ? 1u : 0u);
  auto& data = r.areas[dss7::kValues1];
  data.assign(static_cast<size_t>(capacity) * step, 0);
  for (size_t i = 0; i < static_cast<size_t>(std::clamp(n, 0, capacity)); ++i) {
    data[i * step] = 750 + static_cast<int32_t>(i) * 1440;
    if (type == 115) {
      PutDouble(data, i * step + 1, 5.5 + static_cast<double>(i));
    } else {
      data[i * step + 1] = F(5.5f + static_cast<float>(i));
    }
    if (quality) data[i * step + step - 1] = 7;
  }
  return r;
}

TEST(Dss6Records, IrregularPairsInEveryLayout) {
  struct Case {
    int32_t type;
    bool quality;
  };
  for (const Case c : {Case{110, false}, Case{110, true}, Case{115, false}, Case{115, true}}) {
    series::SeriesRead read;
    ASSERT_EQ(DecodeIrregular(Irregular(c.type, c.quality, 12, 200), &read), Status::kOk);
    ASSERT_EQ(read.values.size(), 12u);
    EXPECT_EQ(Iso(read.times[0]), "2021-02-01T12:30") << c.type;
    EXPECT_EQ(Iso(read.times[11]), "2021-02-12T12:30") << c.type;
    EXPECT_EQ(read.values[11], 16.5) << c.type;
    EXPECT_EQ(read.units, "FT");
    if (c.quality) {
      EXPECT_EQ(read.quality[11], 7);
    }
  }
  series::SeriesRead read;
  EXPECT_EQ(DecodeIrregular(Irregular(110, false, 201, 200), &read), Status::kDamaged);
  EXPECT_EQ(DecodeIrregular(Irregular(110, false, -1, 200), &read), Status::kDamaged);
  auto r = Irregular(115, true, 0, 200);
  EXPECT_EQ(DecodeIrregular(r, &read), Status::kOk);
  EXPECT_TRUE(read.values.empty());
  r.areas[dss7::kInternalHeader].resize(8);
  EXPECT_EQ(DecodeIrregular(r, &read), Status::kDamaged);
  r.info.type = 100;
  EXPECT_EQ(DecodeIrregular(r, &read), Status::kTypeMismatch);
}

container::RecordAreas Paired(int32_t type, int32_t rows, int32_t curves,
                              const std::vector<std::string>& labels, int32_t long_words = 0) {
  namespace ph = paired_header;
  container::RecordAreas r;
  r.info.type = type;
  auto& ih = r.areas[dss7::kInternalHeader];
  const size_t m = static_cast<size_t>(curves);
  ih.assign(ph::kFixedWords + (labels.empty() ? 0 : 3 * m), 0);
  ih[ph::kOrdinates] = rows;
  ih[ph::kCurves] = curves;
  ih[ph::kAxisFlag] = 1;
  PutText(ih, ph::kUnitsIndependent, 2, "FT");
  PutText(ih, ph::kTypeIndependent, 2, "UNT");
  PutText(ih, ph::kUnitsDependent, 2, "");
  PutText(ih, ph::kTypeDependent, 2, "UNT");
  for (size_t k = 0; k < labels.size(); ++k)
    PutText(ih, ph::kLabels + 3 * k, 3, labels[k].substr(0, 12));
  if (long_words > 0) {
    ih.push_back(long_words);
    for (const auto& l : labels) {
      ih.resize(ih.size() + static_cast<size_t>(long_words));
      PutText(ih, ih.size() - static_cast<size_t>(long_words), static_cast<size_t>(long_words), l);
    }
  }
  const size_t per = type == 205 ? 2 : 1;
  auto& data = r.areas[dss7::kValues1];
  data.assign(static_cast<size_t>(rows) * (m + 1) * per, 0);
  for (size_t i = 0; i < static_cast<size_t>(rows) * (m + 1); ++i) {
    if (per == 2) {
      PutDouble(data, 2 * i, static_cast<double>(i) / 4);
    } else {
      data[i] = F(static_cast<float>(i) / 4);
    }
  }
  return r;
}

TEST(Dss6Records, PairedDataLabelsAsHecReadsThem) {
  struct Case {
    const char* what;
    container::RecordAreas record;
    std::vector<std::string> want_labels;
  };
  const Case cases[] = {
      {"no labels", Paired(200, 10, 2, {}), {}},
      {"blank labels", Paired(200, 10, 2, {"", ""}), {}},
      // Only the first 8 characters count when deciding whether labels exist.
      {"label text past 8 characters", Paired(200, 10, 2, {"         X", ""}), {}},
      {"12-character labels",
       Paired(205, 10, 2, {"LOW CURVE", " 5%LIMIT"}),
       {"LOW CURVE", " 5%LIMIT"}},
      {"long labels",
       Paired(200, 4, 2, {"A LABEL LONGER THAN TWELVE", "SHORT"}, 7),
       {"A LABEL LONGER THAN TWELVE", "SHORT"}},
  };
  for (const auto& c : cases) {
    paired::PairedData pd;
    ASSERT_EQ(DecodePaired(c.record, &pd), Status::kOk) << c.what;
    EXPECT_EQ(pd.labels, c.want_labels) << c.what;
    EXPECT_EQ(pd.units_independent, "FT");
    EXPECT_EQ(pd.units_dependent, std::string(99, ' '));  // HEC's all-blank artefact
    EXPECT_EQ(pd.curve_count, 2);
    const size_t rows = pd.rows();
    EXPECT_EQ(pd.Value(1, rows - 1), static_cast<double>(3 * rows - 1) / 4) << c.what;
  }
  struct Bad {
    const char* what;
    void (*damage)(container::RecordAreas&);
    Status want;
  };
  const Bad bad[] = {
      {"NUL in a unit field", [](auto& r) { r.areas[dss7::kInternalHeader][3] = 0x00005446; },
       Status::kNotFound},
      {"more ordinates than data", [](auto& r) { r.areas[dss7::kInternalHeader][0] = 11; },
       Status::kDamaged},
      {"too many curves", [](auto& r) { r.areas[dss7::kInternalHeader][1] = 101; },
       Status::kDamaged},
      {"negative rows", [](auto& r) { r.areas[dss7::kInternalHeader][0] = -1; }, Status::kDamaged},
      {"short header", [](auto& r) { r.areas[dss7::kInternalHeader].resize(10); },
       Status::kDamaged},
      {"text type", [](auto& r) { r.info.type = 300; }, Status::kTypeMismatch},
  };
  for (const auto& b : bad) {
    auto r = Paired(200, 10, 2, {});
    b.damage(r);
    paired::PairedData pd;
    EXPECT_EQ(DecodePaired(r, &pd), b.want) << b.what;
  }
}

TEST(Dss6Records, TextBytesAsStored) {
  container::RecordAreas r;
  r.info.type = 300;
  const std::string text = "line one\nline\ttwo\r";
  r.areas[dss7::kInternalHeader] = {static_cast<int32_t>(text.size()), 0, 0, 0, 0};
  r.areas[dss7::kValues1].assign(5, 0);
  StoreChars(text, r.areas[dss7::kValues1], '!');  // stale bytes after the text
  paired::TextData t;
  ASSERT_EQ(DecodeText(r, &t), Status::kOk);
  EXPECT_EQ(t.text, text);
  r.areas[dss7::kInternalHeader][0] = 21;
  EXPECT_EQ(DecodeText(r, &t), Status::kDamaged);
  r.areas[dss7::kInternalHeader][0] = -1;
  EXPECT_EQ(DecodeText(r, &t), Status::kDamaged);
  r.areas[dss7::kInternalHeader].clear();
  EXPECT_EQ(DecodeText(r, &t), Status::kDamaged);
}

}  // namespace
}  // namespace varnock::engine::dss6
