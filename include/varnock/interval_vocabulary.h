// The interval vocabulary: the E part names of time-series intervals and their minutes, in the
// order names are tried. Month and year entries are nominal minute counts; negative codes name
// irregular block sizes. Data only, so that the engine's HECLIB 6 catalog names intervals from
// the same table as Pathname.
#ifndef VARNOCK_INTERVAL_VOCABULARY_H_
#define VARNOCK_INTERVAL_VOCABULARY_H_

#include <cstdint>

namespace varnock {

struct IntervalEntry {
  const char* name;
  int32_t minutes;
};
inline constexpr IntervalEntry kIntervals[] = {
    {"1YEAR", 525600}, {"1MON", 43200}, {"SEMI-MONTH", 21600}, {"TRI-MONTH", 14400},
    {"1WEEK", 10080},  {"1DAY", 1440},  {"12HOUR", 720},       {"8HOUR", 480},
    {"6HOUR", 360},    {"4HOUR", 240},  {"3HOUR", 180},        {"2HOUR", 120},
    {"1HOUR", 60},     {"30MIN", 30},   {"20MIN", 20},         {"15MIN", 15},
    {"10MIN", 10},     {"5MIN", 5},     {"4MIN", 4},           {"3MIN", 3},
    {"2MIN", 2},       {"1MIN", 1},     {"IR-DECADE", -5},     {"IR-YEAR", -4},
    {"IR-MONTH", -3},  {"IR-DAY", -2},
};

}  // namespace varnock

#endif  // VARNOCK_INTERVAL_VOCABULARY_H_
