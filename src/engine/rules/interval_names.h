// The E parts that name a time-series interval, in HECLIB 6 spelling ("1HOUR", "15MIN", "1MON")
// and DSS-7 spelling ("1Hour", "15Minute", "1Month"), compared without regard to case.
#ifndef VARNOCK_ENGINE_RULES_INTERVAL_NAMES_H_
#define VARNOCK_ENGINE_RULES_INTERVAL_NAMES_H_

#include <cstdint>
#include <string_view>

namespace varnock::engine {

// Seconds of a regular interval; months count 30 days, years 365, "SEMI-MONTH" 15 and
// "TRI-MONTH" 10, which is all ordering needs. 0 when e names no regular interval.
int64_t RegularIntervalSeconds(std::string_view e);

// Block size of an irregular E part: 1 IR-DAY, 2 IR-MONTH, 3 IR-YEAR, 4 IR-DECADE,
// 5 IR-CENTURY; 0 when e names none.
int32_t IrregularBlockRank(std::string_view e);

// The interval vocabulary's name for the interval an E part names in either spelling
// ("15Minute" and "15min" give "15MIN", "IR-Month" gives "IR-MONTH"); empty when the
// vocabulary has no name for it ("30Second", "12Minute", "IR-Century", "~1Day").
std::string_view VocabularyIntervalName(std::string_view e);

}  // namespace varnock::engine

#endif  // VARNOCK_ENGINE_RULES_INTERVAL_NAMES_H_
