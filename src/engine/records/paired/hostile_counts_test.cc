// Counts in a record's headers that its areas cannot back are damage, found before anything
// is sized from them: a few words may not make a decoder allocate gigabytes or loop billions of
// times.
#include <gtest/gtest.h>

#include <climits>
#include <functional>

#include "engine/dss6/records.h"
#include "engine/records/paired/paired_codec.h"
#include "engine/records/paired/text_codec.h"
#include "engine/records/series/record_codec.h"

namespace varnock::engine::paired {
namespace {

using dss7::Status;

dss7::Record RecordOf(int32_t type, std::vector<int32_t> header, std::vector<int32_t> header2 = {},
                      std::vector<int32_t> values1 = {}) {
  dss7::Record r;
  r.info.type = type;
  r.areas[dss7::kInternalHeader] = std::move(header);
  r.areas[dss7::kHeader2] = std::move(header2);
  r.areas[dss7::kValues1] = std::move(values1);
  return r;
}

// A regular float series of `count` steps whose quality section is "all equal" with 64 ints a
// step: a valid compression form that would expand to count * 64 ints.
dss7::Record AllEqualQuality(int32_t count) {
  namespace h = series::ts_header;
  std::vector<int32_t> ih(h::kStrings + 2, 0);
  ih[h::kFirstPosition] = 1;
  ih[h::kLastPosition] = count;
  ih[h::kValuesNumber] = 1;
  ih[h::kValueSize] = 1;
  ih[h::kElementSize] = 1;
  ih[h::kValuesCompression] = 2;
  ih[h::kQualityNumber] = 64;
  ih[h::kQualitySize] = 64;
  ih[h::kQualityCompression] = 2;
  return RecordOf(series::kRegularFloat, ih, {}, std::vector<int32_t>(80, 0));
}

TEST(HostileCounts, AreDamageBeforeAnythingIsSized) {
  const struct {
    const char* what;
    std::function<bool()> refused;
  } cases[] = {
      {"paired data: no rows, two billion curves, a label byte",
       [] {
         PairedData d;
         return DecodePaired(RecordOf(kPairedFloat, {0, INT32_MAX, 1, 4, -1}, {0x41}), &d) ==
                Status::kDamaged;
       }},
      {"text table: two billion rows of no columns",
       [] {
         TextData d;
         return DecodeText(RecordOf(kTextTable, {0, 0, 0, INT32_MAX, 0, 0}), &d) ==
                Status::kDamaged;
       }},
      {"series: an all-equal quality section past an area's limit",
       [] {
         series::SeriesBlock b;
         return series::DecodeSeries(AllEqualQuality(1000000), false, 70701, &b) ==
                series::DecodeResult::kDamaged;
       }},
      {"DSS-6 series: an offset of two billion minutes",
       [] {
         container::RecordAreas r;
         r.info.type = 100;
         r.info.path = "/A/B/FLOW/01JAN2020/1HOUR/F/";
         r.info.logical_count = 3;
         r.areas[dss7::kInternalHeader] = {INT32_MAX, 0, 0, 0, 0};
         r.areas[dss7::kValues1] = {0, 0, 0};
         series::SeriesRead read;
         return dss6::DecodeRegular(r, &read) == Status::kDamaged;
       }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_TRUE(c.refused());
  }
  // The same compression within the limit still expands.
  series::SeriesBlock b;
  ASSERT_EQ(series::DecodeSeries(AllEqualQuality(1000), false, 70701, &b),
            series::DecodeResult::kOk);
  EXPECT_EQ(b.quality.size(), 64000u);
}

}  // namespace
}  // namespace varnock::engine::paired
