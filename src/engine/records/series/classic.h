// HECLIB's classic time-series routines (ZRRTS, ZSRTS, ZRITS, ZSITS) over an open DSS file of
// either version: single-precision values, HECLIB's arguments and its DSS-6 statuses. The extern
// "C" entry points in series_routines.cc only find the file and hand over.
#ifndef VARNOCK_ENGINE_RECORDS_SERIES_CLASSIC_H_
#define VARNOCK_ENGINE_RECORDS_SERIES_CLASSIC_H_

#include <cstdint>
#include <span>
#include <string_view>

#include "engine/records/series/series.h"

namespace varnock::engine::series {

// The DSS-6 markers the classic routines return: -901 missing (also for slots a DSS-7 block
// never wrote), -902 for slots whose block does not exist.
inline constexpr float kClassicMissing = -901.0f;
inline constexpr float kClassicAbsent = -902.0f;

// Start-time text: the rightmost four digits as HHMM (missing leading digits are 0); blanks and
// other characters up to ';' are skipped; a letter, a character above ';', an all-blank text or
// HHMM above 2400 is invalid. Minutes above 59 carry ("0975" is 615).
bool ParseClockTime(std::string_view text, int32_t* minutes);

// The series operations of series.h on a file of any version: each version's record layer
// implements them, with its own blocks, spellings and missing markers.
class SeriesFile {
 public:
  virtual ~SeriesFile() = default;
  virtual SeriesStatus ReadRegular(std::string_view path, Instant start, int64_t count,
                                   SeriesRead* out, const ReadOptions& options) = 0;
  virtual SeriesStatus StoreRegular(const RegularStore& request) = 0;
  virtual SeriesStatus ReadIrregular(std::string_view path, Instant first, Instant last,
                                     SeriesRead* out, const ReadOptions& options) = 0;
  virtual SeriesStatus StoreIrregular(const IrregularStore& request) = 0;
  // The whole block named by the D part of a regular path, for a read without a window: the
  // first slot's time and the block's slot count, in this version's blocks (DSS-7's by default).
  virtual SeriesStatus WholeBlock(std::string_view path, Instant* start, int32_t* count) {
    return RegularBlockWindow(path, start, count);
  }
};

// The DSS-7 series layer over one file.
class Dss7SeriesFile : public SeriesFile {
 public:
  explicit Dss7SeriesFile(dss7::DssFile& file) : file_(file) {}
  SeriesStatus ReadRegular(std::string_view path, Instant start, int64_t count, SeriesRead* out,
                           const ReadOptions& options) override {
    return series::ReadRegular(file_, path, start, count, out, options);
  }
  SeriesStatus StoreRegular(const RegularStore& request) override {
    return series::StoreRegular(file_, request);
  }
  SeriesStatus ReadIrregular(std::string_view path, Instant first, Instant last, SeriesRead* out,
                             const ReadOptions& options) override {
    return series::ReadIrregular(file_, path, first, last, out, options);
  }
  SeriesStatus StoreIrregular(const IrregularStore& request) override {
    return series::StoreIrregular(file_, request);
  }

 private:
  dss7::DssFile& file_;
};

// ZRRTS: *nvals in = slots wanted, out = slots returned (0 on a status above 10).
int32_t ClassicReadRegular(SeriesFile& file, std::string_view path, std::string_view date,
                           std::string_view time, int32_t* nvals, float* values,
                           std::span<char> units, std::span<char> type, int32_t* offset_minutes);

// ZSRTS.
int32_t ClassicStoreRegular(SeriesFile& file, std::string_view path, std::string_view date,
                            std::string_view time, int32_t nvals, const float* values,
                            std::string_view units, std::string_view type, int32_t plan);

// ZRITS: window (julian, minutes) to (julian, minutes), both ends inclusive; start_minutes -2
// reads the block the D part names.
int32_t ClassicReadIrregular(SeriesFile& file, std::string_view path, int32_t start_julian,
                             int32_t start_minutes, int32_t end_julian, int32_t end_minutes,
                             int32_t* times, float* values, int32_t capacity, int32_t* nvals,
                             int32_t* base_julian, std::span<char> units, std::span<char> type);

// ZSITS: times in minutes from base_julian 0000; replace != 0 replaces the span.
int32_t ClassicStoreIrregular(SeriesFile& file, std::string_view path, const int32_t* times,
                              const float* values, int32_t nvals, int32_t base_julian,
                              std::string_view units, std::string_view type, int32_t replace);

}  // namespace varnock::engine::series

#endif  // VARNOCK_ENGINE_RECORDS_SERIES_CLASSIC_H_
