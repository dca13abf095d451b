// HECLIB's classic time-series routines (ZRRTS, ZSRTS, ZRITS, ZSITS) over an open DSS-7 file:
// single-precision values, HECLIB's arguments and its DSS-6 statuses. The extern "C" entry
// points in series_routines.cc only find the file and hand over.
#ifndef VARNOCK_ENGINE_SERIES_CLASSIC_H_
#define VARNOCK_ENGINE_SERIES_CLASSIC_H_

#include <cstdint>
#include <span>
#include <string_view>

#include "engine/dss7/dss_file.h"

namespace varnock::engine::series {

// The DSS-6 markers the classic routines return: -901 missing (also for slots a DSS-7 block
// never wrote), -902 for slots whose block does not exist.
inline constexpr float kClassicMissing = -901.0f;
inline constexpr float kClassicAbsent = -902.0f;

// Start-time text: the rightmost four digits as HHMM (missing leading digits are 0); blanks and
// other characters up to ';' are skipped; a letter, a character above ';', an all-blank text or
// HHMM above 2400 is invalid. Minutes above 59 carry ("0975" is 615).
bool ParseClockTime(std::string_view text, int32_t* minutes);

// ZRRTS: *nvals in = slots wanted, out = slots returned (0 on a status above 10).
int32_t ClassicReadRegular(dss7::DssFile& file, std::string_view path, std::string_view date,
                           std::string_view time, int32_t* nvals, float* values,
                           std::span<char> units, std::span<char> type, int32_t* offset_minutes);

// ZSRTS.
int32_t ClassicStoreRegular(dss7::DssFile& file, std::string_view path, std::string_view date,
                            std::string_view time, int32_t nvals, const float* values,
                            std::string_view units, std::string_view type, int32_t plan);

// ZRITS: window (julian, minutes) to (julian, minutes), both ends inclusive; start_minutes -2
// reads the block the D part names.
int32_t ClassicReadIrregular(dss7::DssFile& file, std::string_view path, int32_t start_julian,
                             int32_t start_minutes, int32_t end_julian, int32_t end_minutes,
                             int32_t* times, float* values, int32_t capacity, int32_t* nvals,
                             int32_t* base_julian, std::span<char> units, std::span<char> type);

// ZSITS: times in minutes from base_julian 0000; replace != 0 replaces the span.
int32_t ClassicStoreIrregular(dss7::DssFile& file, std::string_view path, const int32_t* times,
                              const float* values, int32_t nvals, int32_t base_julian,
                              std::string_view units, std::string_view type, int32_t replace);

}  // namespace varnock::engine::series

#endif  // VARNOCK_ENGINE_SERIES_CLASSIC_H_
