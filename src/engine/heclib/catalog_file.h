// ZCAT for DSS-7 files: the catalog text file in HECLIB 6's abbreviated layout (a 10-line
// header, then "number  tag  pathname" per live record), which the library reads back by
// skipping 10 lines and splitting at "/".
#ifndef VARNOCK_ENGINE_HECLIB_CATALOG_FILE_H_
#define VARNOCK_ENGINE_HECLIB_CATALOG_FILE_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/heclib/file_routines.h"

namespace varnock::engine {

// Where a record goes in a sorted catalog. Parts compare in the order A, B, C, F, E, D, each
// as if blank-padded to the longest such part, byte by byte. For time series (types
// 100..199) E compares by interval (irregular blocks before regular intervals, shorter first)
// and D by date (dates before any D part that is not one). When A, B, C and F tie, records
// that are not time series come before time series. Ties end in file order.
struct CatalogSortKey {
  std::array<std::string_view, 6> parts{};  // A..F; an unsplittable path is all in A
  bool series = false;
  int32_t e_class = 2;  // 0 irregular, 1 regular, 2 neither
  int64_t e_value = 0;  // block rank or seconds
  bool d_is_date = false;
  int32_t d_julian = 0;
  std::size_t position = 0;  // in file order
};

// E and D parts already read and what they gave, in slots picked by a hash of the text (a
// later part may take a slot over): catalogs hold few distinct E and D parts, and reading a
// date is the dearest part of a key. Its views must outlive it.
struct CatalogKeyMemo {
  struct Interval {
    std::string_view text;
    bool known = false;
    int32_t e_class = 2;
    int64_t e_value = 0;
  };
  struct Day {
    std::string_view text;
    bool known = false;
    bool is_date = false;
    int32_t julian = 0;
  };
  static constexpr std::size_t kSlots = 256;
  std::array<Interval, kSlots> intervals;
  std::array<Day, kSlots> days;
};

// The key keeps views into path, which must outlive it.
CatalogSortKey MakeCatalogSortKey(std::string_view path, int32_t type, std::size_t position,
                                  CatalogKeyMemo* memo = nullptr);
bool CatalogOrderLess(const CatalogSortKey& a, const CatalogSortKey& b);
// The positions of keys made in file order, sorted as CatalogOrderLess sorts them, through one
// byte key per record (no comparisons of parsed parts).
std::vector<std::size_t> CatalogOrder(const std::vector<CatalogSortKey>& keys);
// The same over keys made on demand (each is asked for twice), so that they need not all be
// kept at once.
std::vector<std::size_t> CatalogOrder(std::size_t count,
                                      const std::function<CatalogSortKey(std::size_t)>& key_of);

// A pathname as HECLIB 6's catalog lists it: upper-cased, and for a time series (types
// 100..199) an E part that the interval vocabulary names in that name ("15Minute" becomes
// "15MIN", "1Month" "1MON", "IR-Month" "IR-MONTH"), so that every listed name can be handed
// back to the routines by a caller that knows only the vocabulary. Other E parts ("30Second",
// "~1Day") keep their stored spelling, upper-cased.
std::string Heclib6CatalogPath(std::string_view path, int32_t type);
void AppendHeclib6CatalogPath(std::string* out, std::string_view path, int32_t type);

// What the header shows.
struct CatalogHeader {
  std::string_view file_name;  // as inquiry NAME gives it
  int64_t record_count = 0;
  bool sorted = false;
  LocalStamp now;
  int32_t file_created_julian = 0;  // 0: unknown, shown blank
  std::string_view file_version;    // e.g. "7-JA"
};
std::array<std::string, 10> CatalogHeaderLines(const CatalogHeader& header);

// One record line: number right-aligned in 6 columns (7 from 1,000,000 on), tag in columns
// 9-16, pathname from column 19.
std::string CatalogRecordLine(int64_t number, std::string_view tag, std::string_view path);
void AppendCatalogRecordLine(std::string* out, int64_t number, std::string_view tag,
                             std::string_view path);

struct CatalogRequest {
  int32_t unit = 0;            // ICUNIT, connected by the caller (FORTRANOPEN)
  int32_t condensed_unit = 0;  // ICDUNT: no condensed catalog is made
  int32_t input_unit = 0;      // INUNIT: re-sorting an old catalog is not supported
  bool sorted = false;         // LDOSRT
};

// ZCAT. Returns NORECS, the record lines written. Records are listed and sorted under their
// Heclib6CatalogPath, the names HECLIB 6 would show. Unlike HECLIB, a file without records still
// gets the header (count 0), so no old catalog is left behind on the unit. Only the
// abbreviated form is written, and instructions (CINSTR) are not taken: the caller's
// abbreviation flag and instruction text do not reach here. Nothing is written for a table
// that is not open, an unconnected unit, an INUNIT other than 0, or a file whose index cannot
// be read (messages only, and the file's failure into the status word).
int32_t WriteCatalog(int32_t* ifltab, const CatalogRequest& request);

}  // namespace varnock::engine

#endif  // VARNOCK_ENGINE_HECLIB_CATALOG_FILE_H_
