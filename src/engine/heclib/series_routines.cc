// The C ABI of the classic time-series routines: find the caller's open file and hand over to
// the series layer. A table that is not open gives 70, as HECLIB's fatal check would.
#include <vector>

#include "engine/heclib/heclib_abi.h"
#include "engine/heclib/open_files.h"
#include "engine/records/series/classic.h"
#include "engine/rules/fixed_text.h"

namespace {

using varnock::engine::FileOfTable;
using varnock::engine::InText;
using varnock::engine::OutText;
namespace series = varnock::engine::series;

// Fatal codes (10 and above) also go into the table's status word.
void Note(int32_t* ifltab, int32_t status) {
  if (status >= 10)
    varnock::engine::NoteFileStatus(ifltab, static_cast<varnock::engine::dss7::Status>(status));
}

}  // namespace

void ZRRTS_(int32_t* ifltab, const char* path, int32_t path_len, const char* date, int32_t date_len,
            const char* time, int32_t time_len, int32_t* nvals, float* values, char* units,
            int32_t units_len, char* type, int32_t type_len, int32_t* offset, int32_t* status) {
  if (nvals == nullptr || status == nullptr || offset == nullptr) return;
  auto* file = FileOfTable(ifltab, status);
  if (file == nullptr || (values == nullptr && *nvals > 0)) {
    if (file != nullptr) *status = 11;
    *nvals = 0;
    return;
  }
  *status = series::ClassicReadRegular(*file, InText(path, path_len), InText(date, date_len),
                                       InText(time, time_len), nvals, values,
                                       OutText(units, units_len), OutText(type, type_len), offset);
  Note(ifltab, *status);
}

void ZSRTS_(int32_t* ifltab, const char* path, int32_t path_len, const char* date, int32_t date_len,
            const char* time, int32_t time_len, const int32_t* nvals, const float* values,
            const char* units, int32_t units_len, const char* type, int32_t type_len,
            const int32_t* plan, int32_t* status) {
  if (nvals == nullptr || status == nullptr) return;
  auto* file = FileOfTable(ifltab, status);
  if (file == nullptr) return;
  if (values == nullptr && *nvals > 0) {
    *status = 11;
    return;
  }
  *status = series::ClassicStoreRegular(
      *file, InText(path, path_len), InText(date, date_len), InText(time, time_len), *nvals, values,
      InText(units, units_len), InText(type, type_len), plan == nullptr ? 0 : *plan);
  Note(ifltab, *status);
}

void ZRITS_(int32_t* ifltab, const char* path, int32_t path_len, const int32_t* start_julian,
            const int32_t* start_minutes, const int32_t* end_julian, const int32_t* end_minutes,
            int32_t* times, float* values, const int32_t* capacity, int32_t* nvals,
            int32_t* base_julian, char* units, int32_t units_len, char* type, int32_t type_len,
            int32_t* status) {
  if (nvals == nullptr || status == nullptr || base_julian == nullptr) return;
  *nvals = 0;
  auto* file = FileOfTable(ifltab, status);
  if (file == nullptr) return;
  if (start_julian == nullptr || start_minutes == nullptr || end_julian == nullptr ||
      end_minutes == nullptr || capacity == nullptr ||
      (*capacity > 0 && (times == nullptr || values == nullptr))) {
    *status = 24;
    return;
  }
  *status =
      series::ClassicReadIrregular(*file, InText(path, path_len), *start_julian, *start_minutes,
                                   *end_julian, *end_minutes, times, values, *capacity, nvals,
                                   base_julian, OutText(units, units_len), OutText(type, type_len));
  Note(ifltab, *status);
}

void ZSITS_(int32_t* ifltab, const char* path, int32_t path_len, const int32_t* times,
            const float* values, const int32_t* nvals, const int32_t* base_julian,
            const char* units, int32_t units_len, const char* type, int32_t type_len,
            const int32_t* replace, int32_t* status) {
  if (nvals == nullptr || status == nullptr) return;
  auto* file = FileOfTable(ifltab, status);
  if (file == nullptr) return;
  if (*nvals > 0 && (times == nullptr || values == nullptr)) {
    *status = 11;
    return;
  }
  *status = series::ClassicStoreIrregular(*file, InText(path, path_len), times, values, *nvals,
                                          base_julian == nullptr ? 0 : *base_julian,
                                          InText(units, units_len), InText(type, type_len),
                                          replace == nullptr ? 0 : *replace);
  Note(ifltab, *status);
}
