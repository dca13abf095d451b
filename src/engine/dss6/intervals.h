// DSS-6 E parts: the regular intervals (in minutes, with their stored spellings and block
// kinds) and the irregular block parts, as HECLIB 6 recognises them.
#ifndef VARNOCK_ENGINE_DSS6_INTERVALS_H_
#define VARNOCK_ENGINE_DSS6_INTERVALS_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace varnock::engine::dss6 {

enum class Block { kDay, kMonth, kYear, kDecade, kCentury };
enum class Step { kFixed, kTriMonth, kSemiMonth, kMonth, kYear };

struct Interval6 {
  std::string_view name;  // stored spelling, e.g. "1HOUR"
  int32_t minutes;
  Step step;
  Block block;
};

// A regular E part, recognised from its first 4 characters, upper-cased, in HEC's table order;
// null when it is not one. A leading '~' is not accepted here.
const Interval6* FindRegular(std::string_view e_part);
// The interval with exactly this many minutes; null when none.
const Interval6* RegularByMinutes(int32_t minutes);
// IR-DAY .. IR-CENTURY from the first 6 characters (any case); false when not irregular.
bool FindIrregularBlock(std::string_view e_part, Block* out);
// "IR-DAY" .. "IR-CENTURY".
std::string_view IrregularBlockName(Block block);
// The IR- block HEC files a pseudo-regular series of this interval under.
Block PseudoRegularBlock(int32_t minutes);

// First day of the block holding `julian`, and of the block after one starting at `start`.
int32_t BlockStart(Block block, int32_t julian);
int32_t NextBlockStart(Block block, int32_t start);

// HEC's D part of a block start: "01JAN2021".
std::string BlockDate(int32_t julian);
// The julian of a D part such as "01JAN2021" (any case); false when it is not one.
bool ParseBlockDate(std::string_view d_part, int32_t* julian);

}  // namespace varnock::engine::dss6

#endif  // VARNOCK_ENGINE_DSS6_INTERVALS_H_
