// HEC's DSS-6 period arithmetic, shared by the series writers and the window reads: where a
// time falls in a regular block, how many slots a block has, and the block paths.
#ifndef VARNOCK_ENGINE_DSS6_SLOTS_H_
#define VARNOCK_ENGINE_DSS6_SLOTS_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "engine/dss6/intervals.h"
#include "engine/dss6/store.h"

namespace varnock::engine::dss6 {

// (julian, minutes 1..1440) of a time: 0000 is 2400 of the day before.
void Split(Minutes t, int32_t* julian, int32_t* minutes);
// The day a regular block's slots count from: weekly blocks start on the Sunday on or before.
int32_t SlotBase(const Interval6& iv, int32_t block);
// HEC's count of periods from (j1, m1) to (j2, m2).
int64_t Periods(const Interval6& iv, int32_t j1, int32_t m1, int32_t j2, int32_t m2);
int64_t ValuesPerBlock(const Interval6& iv, int32_t block);
int32_t LastDayOfMonth(int64_t y, int64_t m);
// HEC's offset of a first value at time t, and the standard time it is filed under.
void Standardise(const Interval6& iv, Minutes t, int32_t* offset, Minutes* standard);
// The path with the D and E parts replaced; empty when it has no six parts.
std::string WithBlockParts(std::string_view path, std::string_view d, std::string_view e);

}  // namespace varnock::engine::dss6

#endif  // VARNOCK_ENGINE_DSS6_SLOTS_H_
