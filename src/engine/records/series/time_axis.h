// Time arithmetic of DSS-7 time series: E-part intervals, blocks, standard (end-of-period)
// times, slot numbers and time offsets, reproduced as HEC's library computes them.
//
// An Instant is seconds counted from 31Dec1899 00:00 (julian 0), so julian * 86400 + seconds of
// day. Midnight is one instant whichever way it is written: (d, 86400) == (d + 1, 0).
#ifndef VARNOCK_ENGINE_RECORDS_SERIES_TIME_AXIS_H_
#define VARNOCK_ENGINE_RECORDS_SERIES_TIME_AXIS_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace varnock::engine::series {

using Instant = int64_t;
inline constexpr int64_t kSecondsPerDay = 86400;

// (julian, seconds of day in 1..86400): midnight belongs to the day before.
struct DaySecond {
  int32_t julian;
  int32_t seconds;
};
DaySecond SplitInstant(Instant t);
constexpr Instant MakeInstant(int64_t julian, int64_t seconds) {
  return julian * kSecondsPerDay + seconds;
}

enum class BlockKind { kDay, kMonth, kYear, kDecade, kCentury };

// Calendar-stepped intervals; everything up to a week is a fixed number of seconds.
enum class IntervalClass { kFixed, kTriMonth, kSemiMonth, kMonth, kYear };

struct Interval {
  std::string_view name;  // DSS-7 spelling written into E parts
  int64_t seconds = 0;    // nominal for the calendar classes
  IntervalClass klass = IntervalClass::kFixed;
  BlockKind block = BlockKind::kDay;
  bool irregular = false;
};

// HEC's recognition: case-insensitive, over min(input, entry) characters, in table order;
// inputs shorter than 4 characters never match. A leading "~" names the pseudo-regular series
// of that interval ("~1Day", "~15MIN"): irregular, in blocks chosen from the nominal interval,
// spelt "~" + HEC's name. Null when unknown.
const Interval* FindInterval(std::string_view e_part);

// First day of the block holding day `julian`, and of the block after it.
int32_t BlockStart(BlockKind kind, int32_t julian);
int32_t NextBlockStart(BlockKind kind, int32_t block_start);
// The block holding an instant (midnight goes with the day before).
inline int32_t BlockOf(BlockKind kind, Instant t) {
  return BlockStart(kind, SplitInstant(t).julian);
}

// D part of a block: "01Jan2020".
std::string BlockDate(int32_t julian);

// Slots of a regular block starting at day `block`.
int32_t ValuesPerBlock(const Interval& iv, int32_t block);
// The standard time of slot 0, and of a standard time `count` periods later.
Instant FirstStandardTime(const Interval& iv, int32_t block);
Instant StepStandard(const Interval& iv, Instant standard, int64_t count);
// HEC's slot of a standard time within the block (weekly: clamped at 0, see the .cc).
int64_t SlotOf(const Interval& iv, int32_t block, Instant standard);

// The offset of a first value (seconds from the start of its period) and the standard time the
// value is filed under (the end of that period).
struct Standardised {
  Instant standard;
  int32_t offset;
};
Standardised Standardise(const Interval& iv, Instant t);
// The time a value at `standard` is reported at, given the series' offset.
Instant ReportedTime(const Interval& iv, Instant standard, int32_t offset);

}  // namespace varnock::engine::series

#endif  // VARNOCK_ENGINE_RECORDS_SERIES_TIME_AXIS_H_
