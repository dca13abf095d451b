#include "engine/dss6/window.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/container/record_file.h"
#include "engine/dss7/memory_file_io.h"
#include "engine/records/series/classic.h"

namespace varnock::engine::dss6 {
namespace {

using series::kClassicAbsent;
using series::kClassicMissing;

std::unique_ptr<container::RecordFile> NewFile(int version) {
  std::unique_ptr<container::RecordFile> file;
  bool created = false;
  EXPECT_EQ(container::OpenOrCreateRecordFileIO(
                std::make_unique<dss7::MemoryFileIO>(dss7::MemoryFileIO::NewStorage()), version, 0,
                {}, &file, &created),
            Status::kOk);
  EXPECT_TRUE(created);
  EXPECT_EQ(file->file().MajorVersion(), version);
  return file;
}

struct Window {
  const char* date;
  const char* time;
  int32_t count;
  int32_t status;
  std::vector<float> head;  // the first values read
};

// ZRRTS statuses and markers over a series that spans two monthly blocks, the same on both
// versions: -901 for slots of a block never written, -902 for slots of absent blocks.
TEST(WindowTest, RegularWindowsAcrossBlocksGiveHeclibsStatuses) {
  const char* path = "/A/B/FLOW//1HOUR/F/";
  std::vector<float> stored(48);
  for (size_t i = 0; i < stored.size(); ++i)
    stored[i] = static_cast<float>(i + 1);
  stored[5] = kClassicMissing;
  const Window windows[] = {
      {"31JAN2021", "0100", 48, 1, {1, 2, 3, 4, 5, kClassicMissing, 7}},
      {"31JAN2021", "2300", 4, 0, {23, 24, 25, 26}},
      {"01FEB2021", "0100", 3, 0, {25, 26, 27}},
      {"31JAN2021", "0000", 2, 1, {kClassicMissing, 1}},  // 0000 is 2400 of the day before
      {"01FEB2021", "0100", 700, 3, {25, 26}},            // runs into the absent March block
      {"28FEB2021", "2300", 3, 4, {kClassicMissing, kClassicMissing, kClassicAbsent}},
      {"30JAN2021", "0100", 5, 4, {kClassicMissing, kClassicMissing}},
      {"31MAR2021", "2300", 3, 5, {kClassicAbsent, kClassicAbsent, kClassicAbsent}},
  };
  for (int version : {6, 7}) {
    auto file = NewFile(version);
    ASSERT_EQ(series::ClassicStoreRegular(*file, path, "31JAN2021", "0100", 48, stored.data(),
                                          "CFS", "INST-VAL", 0),
              0);
    for (const Window& w : windows) {
      SCOPED_TRACE("DSS-" + std::to_string(version) + " " + w.date + " " + w.time);
      std::vector<float> values(static_cast<size_t>(w.count), 7.5f);
      char units[8], type[8];
      int32_t n = w.count, offset = -1;
      EXPECT_EQ(series::ClassicReadRegular(*file, path, w.date, w.time, &n, values.data(), units,
                                           type, &offset),
                w.status);
      EXPECT_EQ(n, w.count);
      values.resize(w.head.size());
      EXPECT_EQ(values, w.head);
      EXPECT_EQ(std::string(units, 8), w.status == 5 ? "        " : "CFS     ");
    }
  }
}

// ZSRTS's plans over stored values, the same on both versions: 0 and 2 replace every slot,
// 1 fills only missing slots, 4 lets no missing value overwrite.
TEST(WindowTest, StorePlansMergeSlotByValueOnBothVersions) {
  const char* path = "/A/B/FLOW//1DAY/F/";
  const float m = kClassicMissing;
  const std::vector<float> stored = {1, m, 3, 4};
  const std::vector<float> incoming = {10, 20, m, m};
  const std::pair<int32_t, std::vector<float>> plans[] = {
      {0, {10, 20, m, m}}, {1, {1, 20, 3, 4}}, {2, {10, 20, m, m}}, {4, {10, 20, 3, 4}}};
  for (int version : {6, 7}) {
    for (const auto& [plan, after] : plans) {
      SCOPED_TRACE("DSS-" + std::to_string(version) + " plan " + std::to_string(plan));
      auto file = NewFile(version);
      for (const auto& [values, p] : {std::pair{stored, 0}, {incoming, plan}}) {
        ASSERT_EQ(series::ClassicStoreRegular(*file, path, "01MAR2021", "2400", 4, values.data(),
                                              "CFS", "INST-VAL", p),
                  0);
      }
      std::vector<float> got(4);
      char units[8], type[8];
      int32_t n = 4, offset = 0;
      EXPECT_LE(series::ClassicReadRegular(*file, path, "01MAR2021", "2400", &n, got.data(), units,
                                           type, &offset),
                1);
      EXPECT_EQ(got, after);
    }
  }
}

// ZRITS on both versions: windows inclusive at both ends, across day blocks.
TEST(WindowTest, IrregularWindowsAcrossBlocksGiveHeclibsStatuses) {
  const char* path = "/A/B/STAGE//IR-DAY/F/";
  const int32_t base = 44196;  // 01JAN2021
  const std::vector<int32_t> times = {60, 720, 1440, 1500, 2880 + 30};
  const std::vector<float> values = {1, 2, 3, 4, 5};
  struct Case {
    int32_t first_day, first_minute, last_day, last_minute, capacity;
    int32_t status;
    std::vector<float> read;
  };
  const Case cases[] = {
      {base, 0, base + 3, 0, 10, 0, {1, 2, 3, 4, 5}},
      {base, 720, base, 1440, 10, 0, {2, 3}},  // 2400 belongs to the first day
      {base + 1, 0, base + 1, 1440, 10, 0, {3, 4}},
      {base, 0, base + 3, 0, 2, 1, {1, 2}},
      {base + 1, 100, base + 1, 200, 10, 3, {}},
      {base + 20, 0, base + 21, 0, 10, 4, {}},
  };
  for (int version : {6, 7}) {
    auto file = NewFile(version);
    ASSERT_EQ(series::ClassicStoreIrregular(*file, path, times.data(), values.data(), 5, base, "FT",
                                            "INST-VAL", 0),
              0);
    for (const Case& c : cases) {
      SCOPED_TRACE("DSS-" + std::to_string(version) + " " + std::to_string(c.first_minute));
      std::vector<int32_t> got_times(10);
      std::vector<float> got(10);
      int32_t n = -1, got_base = -1;
      char units[8], type[8];
      EXPECT_EQ(series::ClassicReadIrregular(*file, path, c.first_day, c.first_minute, c.last_day,
                                             c.last_minute, got_times.data(), got.data(),
                                             c.capacity, &n, &got_base, units, type),
                c.status);
      got.resize(static_cast<size_t>(std::max(n, 0)));
      EXPECT_EQ(got, c.read);
      if (!c.read.empty()) {
        EXPECT_EQ(got_base, c.first_day);
        EXPECT_EQ(int64_t{got_base} * 1440 + got_times[0],
                  int64_t{base} * 1440 +
                      times[static_cast<size_t>(std::find(values.begin(), values.end(), got[0]) -
                                                values.begin())]);
      }
    }
  }
}

// ZRRTS without a date reads the whole block of the D part, in the file's own blocks: a DSS-6
// weekly decade has 521 or 522 slots (from the Sunday on or before each decade start), DSS-7
// always 521.
TEST(WindowTest, WholeBlockReadCountsTheVersionsOwnSlots) {
  struct Case {
    int version;
    const char* path;
    const char* first_date;  // the first slot's standard time
    const char* first_time;
    int32_t slots;
  };
  const Case cases[] = {
      {6, "/A/B/FLOW/01JAN2020/1WEEK/F/", "04JAN2020", "2400", 522},
      {6, "/A/B/FLOW/01JAN1990/1WEEK/F/", "06JAN1990", "2400", 521},
      {6, "/A/B/FLOW/15MAR2025/1WEEK/F/", "04JAN2020", "2400", 522},  // any day of the decade
      {6, "/A/B/FLOW/01JAN2020/1DAY/F/", "01JAN2020", "2400", 366},
      {6, "/A/B/FLOW/01FEB2021/1HOUR/F/", "01FEB2021", "0100", 672},
      {6, "/A/B/FLOW/01JAN2020/1MON/F/", "31JAN2020", "2400", 120},
      {7, "/A/B/FLOW/01JAN2020/1Week/F/", nullptr, nullptr, 521},
      {7, "/A/B/FLOW/01JAN2020/1Day/F/", "01JAN2020", "2400", 366},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE("DSS-" + std::to_string(c.version) + " " + c.path);
    auto file = NewFile(c.version);
    const std::vector<float> stored = {1, 2, 3};
    if (c.first_date != nullptr) {
      ASSERT_EQ(series::ClassicStoreRegular(*file, c.path, c.first_date, c.first_time, 3,
                                            stored.data(), "CFS", "INST-VAL", 0),
                0);
    }
    std::vector<float> values(1000, 7.5f);
    char units[8], type[8];
    int32_t n = 1000, offset = -1;
    const int32_t status =
        series::ClassicReadRegular(*file, c.path, "", "", &n, values.data(), units, type, &offset);
    EXPECT_EQ(n, c.slots);
    if (c.first_date != nullptr) {
      EXPECT_EQ(status, 1);
      values.resize(4);
      EXPECT_EQ(values, (std::vector<float>{1, 2, 3, kClassicMissing}));
    } else {
      EXPECT_EQ(status, 5);
    }
  }
}

// A DSS-6 window read asks for each block once and hands back the units of the last block
// found; a record of another kind in the way is refused.
TEST(WindowTest, RegularWindowReportsBlocksAndRefusesOtherKinds) {
  auto file = NewFile(6);
  std::vector<float> v = {1, 2, 3};
  ASSERT_EQ(series::ClassicStoreRegular(*file, "/A/B/C//1DAY/F/", "30DEC2020", "2400", 3, v.data(),
                                        "CFS", "INST-VAL", 0),
            0);
  series::SeriesRead read;
  auto& dss6 = dynamic_cast<container::RecordFile&>(*file);
  ASSERT_TRUE(dss6.ReadRegular("/A/B/C//1DAY/F/", int64_t{44195} * 86400, 4, &read, {}).ok());
  EXPECT_EQ(read.blocks_found, 2);
  EXPECT_EQ(read.values, (std::vector<double>{1, 2, 3, kClassicMissing}));
  EXPECT_TRUE(read.absent.empty());
  EXPECT_EQ(read.last.units, "CFS");
  paired::TextData text;
  text.text = "not a series";
  ASSERT_EQ(file->writer().StoreText("/A/B/C/01JAN2022/1DAY/F/", text), Status::kOk);
  EXPECT_EQ(dss6.ReadRegular("/A/B/C//1DAY/F/", int64_t{44562} * 86400, 2, &read, {}).code,
            series::SeriesCode::kWrongType);
}

}  // namespace
}  // namespace varnock::engine::dss6
