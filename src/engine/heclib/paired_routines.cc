// HECLIB's paired-data routines ZSPD and ZRPD on DSS files of either version.
//
// Choices where HECLIB versions differ:
// - ZSPD honours plans 0, 1 and 2 (-2 when plan 1 meets an existing record, -1 when plan 2
//   finds none); the pre-allocation plans 10 and 11 are not provided and give -11, as does
//   any other plan, so a caller's VALUES array is never read with a layout we do not know.
// - ZSPD over a record that is not paired data writes nothing and gives 20.
// - ZRPD gives 1 when the values do not fit, with KVALS values delivered (the DSS-7 rule),
//   and 10 when the record's contents are damaged.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "engine/dss7/hash.h"
#include "engine/dss7/layout.h"
#include "engine/heclib/heclib_abi.h"
#include "engine/heclib/message_units.h"
#include "engine/heclib/open_files.h"
#include "engine/heclib/options.h"
#include "engine/records/paired/area_bytes.h"
#include "engine/records/paired/record_io.h"
#include "engine/rules/dates.h"
#include "engine/rules/fixed_text.h"

namespace varnock::engine {
namespace {

using dss7::Status;

namespace zspd {
inline constexpr int32_t kWritten = 0;
inline constexpr int32_t kNotThere = -1;
inline constexpr int32_t kExists = -2;
inline constexpr int32_t kBadOrdinates = -4;
inline constexpr int32_t kBadCurves = -5;
inline constexpr int32_t kBadPath = -10;
inline constexpr int32_t kBadCount = -11;
inline constexpr int32_t kReadOnly = -12;
inline constexpr int32_t kNotPaired = 20;
inline constexpr int32_t kMaxCurves = 100;
inline constexpr int32_t kMinPathLength = 4;
}  // namespace zspd

namespace zrpd {
inline constexpr int32_t kRead = 0;
inline constexpr int32_t kMissing = -1;
inline constexpr int32_t kTooSmall = 1;
inline constexpr int32_t kDamaged = 10;
inline constexpr int32_t kNotPaired = 20;
}  // namespace zrpd

inline constexpr std::string_view kDefaultProgram = "Undefi";
inline constexpr int32_t kDateStyle = 114;       // "07MAR01"
inline constexpr int64_t kJulianOf1970 = 25568;  // HEC day of 1970-01-01
inline constexpr int64_t kMillisPerDay = 86400000;

void Put(int32_t* out, int32_t value) {
  if (out != nullptr) *out = value;
}

int32_t ValueOr(const int32_t* in, int32_t fallback) {
  return in != nullptr ? *in : fallback;
}

void Message(int32_t level, std::string_view text, std::string_view path) {
  if (MessageWanted(level)) EmitMessage(level, std::string(text) + std::string(path));
}

// The last-record buffer as the inquiries report it; write times in UTC.
LastRecordInfo LastRecordOf(const container::RecordInfo& info, int32_t precision) {
  LastRecordInfo r;
  r.precision = std::max(precision, 0);
  const int64_t ms = info.last_write_ms;
  const int64_t days = ms >= 0 ? ms / kMillisPerDay : -((-ms + kMillisPerDay - 1) / kMillisPerDay);
  const int64_t seconds = (ms - days * kMillisPerDay) / 1000;
  char date[7];
  const int64_t julian =
      std::clamp<int64_t>(days + kJulianOf1970, std::numeric_limits<int32_t>::min(),
                          std::numeric_limits<int32_t>::max());
  JulianToDate(static_cast<int32_t>(julian), kDateStyle, date);
  r.written_date.Assign(std::string_view(date, sizeof date));
  const int64_t parts[3] = {seconds / 3600, seconds / 60 % 60, seconds % 60};
  char time[8] = {'0', '0', ':', '0', '0', ':', '0', '0'};
  for (int k = 0; k < 3; ++k) {
    time[3 * k] = static_cast<char>('0' + parts[k] / 10);
    time[3 * k + 1] = static_cast<char>('0' + parts[k] % 10);
  }
  r.written_time.Assign(std::string_view(time, 8));
  r.program.Assign(info.program);
  r.version = info.version;
  r.type = info.type;
  return r;
}

// HECLIB's pathname test for ZSPD, plus what the file can store.
bool StorablePathname(std::string_view path) {
  return static_cast<int32_t>(path.size()) >= zspd::kMinPathLength &&
         static_cast<unsigned char>(path[0]) >= '/' && dss7::IsStorablePath(path);
}

// A label element: cut at a NUL, trailing blanks dropped (the whole significant text is kept;
// DSS-7 labels have no fixed length).
std::string LabelOf(const char* element, int32_t length) {
  std::string_view text(element, static_cast<size_t>(length));
  text = text.substr(0, text.find('\0'));
  return std::string(TrimTrailingBlanks(text));
}

struct StoreArgs {
  int32_t* ifltab;
  std::string_view path;
  int32_t nord;
  int32_t ncurve;
  int32_t ihoriz;
  std::string_view units1, type1, units2, type2;
  const float* values;
  const char* labels;
  int32_t labels_len;
  bool has_labels;
  const int32_t* user_header;
  int32_t user_header_count;
  int32_t plan;
};

int32_t StorePaired(const StoreArgs& a) {
  int32_t status = 0;
  container::RecordFile* file = FileOfTable(a.ifltab, &status);
  if (file == nullptr) return status;
  if (!StorablePathname(a.path)) return zspd::kBadPath;
  if (a.nord < 1) return zspd::kBadOrdinates;
  if (a.ncurve < 1 || a.ncurve > zspd::kMaxCurves) return zspd::kBadCurves;
  const int64_t total = int64_t{a.nord} * (a.ncurve + 1);
  if (a.values == nullptr || total > dss7::kMaxAreaInt32 || a.user_header_count < 0 ||
      a.user_header_count > dss7::kMaxAreaInt32 ||
      (a.user_header_count > 0 && a.user_header == nullptr)) {
    return zspd::kBadCount;
  }
  if (a.plan < 0 || a.plan > 2) return zspd::kBadCount;
  if (file->file().read_only()) {
    EmitReadOnlyWrite("ZSPD", a.path);
    return zspd::kReadOnly;
  }
  Status s = file->Refresh();
  if (s != Status::kOk) {
    NoteFileStatus(a.ifltab, s);
    return FatalCode(s);
  }
  const Options options = CurrentOptions();
  container::RecordInfo existing;
  if (options.protect && file->file().Lookup(a.path, &existing) == Status::kOk) {
    Message(2, " -----DSS---ZSPD:  Caution; record protected: ", a.path);
    return zspd::kExists;
  }

  paired::PairedData d;
  d.ordinates.assign(a.values, a.values + a.nord);
  d.curve_count = a.ncurve;
  d.values.assign(a.values + a.nord, a.values + total);
  d.units_independent = std::string(TrimTrailingBlanks(a.units1));
  d.type_independent = std::string(TrimTrailingBlanks(a.type1));
  d.units_dependent = std::string(TrimTrailingBlanks(a.units2));
  d.type_dependent = std::string(TrimTrailingBlanks(a.type2));
  d.axis_flag = a.ihoriz == 2 ? 2 : 1;
  if (a.has_labels && a.labels != nullptr && a.labels_len > 0) {
    for (int64_t i = 0; i < a.ncurve; ++i)
      d.labels.push_back(LabelOf(a.labels + i * a.labels_len, a.labels_len));
  }
  if (a.user_header_count > 0) {
    d.user_header.assign(a.user_header, a.user_header + a.user_header_count);
  }
  const std::string_view program =
      options.program == kDefaultProgram ? std::string_view() : options.program.View();
  s = file->WritePaired(a.path, d, static_cast<paired::WritePlan>(a.plan), program);
  switch (s) {
    case Status::kOk:
      Message(3, " -----DSS---ZWRITE  ", a.path);
      return zspd::kWritten;
    case Status::kExists:
      return zspd::kExists;
    case Status::kNotFound:
      return zspd::kNotThere;
    case Status::kTypeMismatch:
      Message(2, " -----DSS---ZSPD:  Caution; record is not paired data: ", a.path);
      return zspd::kNotPaired;
    case Status::kInvalidArgument:
      return zspd::kBadCount;
    case Status::kReadOnly:
      return zspd::kReadOnly;
    default:
      NoteFileStatus(a.ifltab, s);
      return FatalCode(s) != 0 ? FatalCode(s) : zrpd::kDamaged;
  }
}

struct ReadArgs {
  int32_t* ifltab;
  std::string_view path;
  int32_t* nord;
  int32_t* ncurve;
  int32_t* ihoriz;
  std::span<char> units1, type1, units2, type2;
  float* values;
  int32_t capacity;
  int32_t* nvals;
  char* labels;
  int32_t labels_len;
  int32_t label_capacity;
  int32_t* has_labels;
  int32_t* user_header;
  int32_t user_header_capacity;
  int32_t* user_header_count;
};

void DeliverLabels(const ReadArgs& a, const paired::PairedData& d) {
  if (a.labels == nullptr || a.labels_len <= 0 || a.label_capacity <= 0) return;
  for (int64_t i = 0; i < a.label_capacity; ++i) {
    const std::span<char> element(a.labels + i * a.labels_len, static_cast<size_t>(a.labels_len));
    const bool have = d.has_labels() && i < d.curve_count;
    AssignBlankPadded(element, have ? std::string_view(d.labels[static_cast<size_t>(i)]) : "");
  }
}

int32_t ReadPaired(const ReadArgs& a) {
  int32_t status = 0;
  container::RecordFile* file = FileOfTable(a.ifltab, &status);
  if (file == nullptr) return status;
  Status s = file->Refresh();
  if (s != Status::kOk) {
    NoteFileStatus(a.ifltab, s);
    return FatalCode(s);
  }
  paired::PairedData d;
  container::RecordInfo info;
  info.type = -1;
  s = file->ReadPairedNamed(a.path, &d, &info);
  if (info.type != -1) {
    SetLastRecordInfo(LastRecordOf(info, s == Status::kOk ? d.precision : 0));
  }
  switch (s) {
    case Status::kOk:
      break;
    case Status::kNotFound:
    case Status::kInvalidArgument:
      Message(2, " -----DSS---ZRPD:  Caution; record not found: ", a.path);
      return zrpd::kMissing;
    case Status::kTypeMismatch:
      Message(2, " -----DSS---ZRPD:  Caution; record is not paired data: ", a.path);
      return zrpd::kNotPaired;
    default:
      NoteFileStatus(a.ifltab, s);
      return FatalCode(s) != 0 ? FatalCode(s) : zrpd::kDamaged;
  }

  const int64_t rows = static_cast<int64_t>(d.rows());
  const int64_t total = rows * (int64_t{d.curve_count} + 1);
  Put(a.nord, static_cast<int32_t>(rows));
  Put(a.ncurve, d.curve_count);
  Put(a.ihoriz, d.axis_flag == 1 ? 1 : 2);
  AssignBlankPadded(a.units1, d.units_independent);
  AssignBlankPadded(a.type1, d.type_independent);
  AssignBlankPadded(a.units2, d.units_dependent);
  AssignBlankPadded(a.type2, d.type_dependent);
  const int64_t room = a.values == nullptr ? 0 : std::max(a.capacity, 0);
  const int64_t count = std::min(total, room);
  for (int64_t i = 0; i < count; ++i) {
    const double v =
        i < rows ? d.ordinates[static_cast<size_t>(i)] : d.values[static_cast<size_t>(i - rows)];
    a.values[i] = paired::ToFloat(v);
  }
  Put(a.nvals, static_cast<int32_t>(count));
  Put(a.has_labels, d.has_labels() ? 1 : 0);
  DeliverLabels(a, d);
  const int64_t header_room = a.user_header == nullptr ? 0 : std::max(a.user_header_capacity, 0);
  const int64_t header_count = std::min(static_cast<int64_t>(d.user_header.size()), header_room);
  std::copy_n(d.user_header.begin(), header_count, a.user_header);
  Put(a.user_header_count, static_cast<int32_t>(header_count));
  if (d.curve_count > a.label_capacity && d.has_labels()) {
    Message(2, " -----DSS---ZRPD:  Caution; not all labels returned: ", a.path);
  }
  Message(4, " -----DSS---ZREAD  ", a.path);
  return count < total ? zrpd::kTooSmall : zrpd::kRead;
}

// Anything thrown below the C ABI becomes HECLIB's "out of memory" style fatal code.
template <typename F>
int32_t Guarded(F f) {
  try {
    return f();
  } catch (...) {
    return static_cast<int32_t>(Status::kNoMemory);
  }
}

}  // namespace
}  // namespace varnock::engine

using varnock::engine::InText;
using varnock::engine::OutText;
using varnock::engine::TrimTrailingBlanks;

VARNOCK_HECLIB_API void ZRPD_(int32_t* ifltab, const char* path, int32_t path_len, int32_t* nord,
                              int32_t* ncurve, int32_t* ihoriz, char* units1, int32_t units1_len,
                              char* type1, int32_t type1_len, char* units2, int32_t units2_len,
                              char* type2, int32_t type2_len, float* values,
                              const int32_t* capacity, int32_t* nvals, char* labels,
                              int32_t labels_len, const int32_t* label_capacity,
                              int32_t* has_labels, int32_t* user_header,
                              const int32_t* user_header_capacity, int32_t* user_header_count,
                              int32_t* status) {
  using namespace varnock::engine;
  for (int32_t* out : {nord, ncurve, nvals, has_labels, user_header_count})
    Put(out, 0);
  const ReadArgs args{ifltab,
                      TrimTrailingBlanks(InText(path, path_len)),
                      nord,
                      ncurve,
                      ihoriz,
                      OutText(units1, units1_len),
                      OutText(type1, type1_len),
                      OutText(units2, units2_len),
                      OutText(type2, type2_len),
                      values,
                      ValueOr(capacity, 0),
                      nvals,
                      labels,
                      labels_len,
                      ValueOr(label_capacity, 0),
                      has_labels,
                      user_header,
                      ValueOr(user_header_capacity, 0),
                      user_header_count};
  Put(status, Guarded([&] { return ReadPaired(args); }));
}

VARNOCK_HECLIB_API void ZSPD_(int32_t* ifltab, const char* path, int32_t path_len,
                              const int32_t* nord, const int32_t* ncurve, const int32_t* ihoriz,
                              const char* units1, int32_t units1_len, const char* type1,
                              int32_t type1_len, const char* units2, int32_t units2_len,
                              const char* type2, int32_t type2_len, const float* values,
                              const char* labels, int32_t labels_len, const int32_t* has_labels,
                              const int32_t* user_header, const int32_t* user_header_count,
                              const int32_t* plan, int32_t* status) {
  using namespace varnock::engine;
  const StoreArgs args{ifltab,
                       TrimTrailingBlanks(InText(path, path_len)),
                       ValueOr(nord, 0),
                       ValueOr(ncurve, 0),
                       ValueOr(ihoriz, 1),
                       InText(units1, units1_len),
                       InText(type1, type1_len),
                       InText(units2, units2_len),
                       InText(type2, type2_len),
                       values,
                       labels,
                       labels_len,
                       ValueOr(has_labels, 0) != 0,
                       user_header,
                       ValueOr(user_header_count, 0),
                       ValueOr(plan, 0)};
  Put(status, Guarded([&] { return StorePaired(args); }));
}
