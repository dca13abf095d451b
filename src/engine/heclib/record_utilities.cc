#include "engine/heclib/record_utilities.h"

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "engine/dss7/dss_file.h"
#include "engine/dss7/hash.h"
#include "engine/heclib/message_units.h"
#include "engine/heclib/open_files.h"
#include "engine/heclib/options.h"
#include "engine/records/series/time_axis.h"
#include "engine/rules/fixed_text.h"
#include "engine/rules/interval_names.h"
#include "engine/rules/pathname_rules.h"

namespace varnock::engine {
namespace {

using container::RecordFile;
using dss7::Status;

// The first n characters of a buffer, never more than it holds.
std::string_view Prefix(std::string_view buffer, int32_t n) {
  if (n <= 0) return {};
  return buffer.substr(0, std::min(buffer.size(), static_cast<std::size_t>(n)));
}

std::string_view Part(std::string_view path, const PathnameParts& parts, int index) {
  if (parts.length[index] <= 0) return {};
  return path.substr(static_cast<std::size_t>(parts.begin[index] - 1),
                     static_cast<std::size_t>(parts.length[index]));
}

void Message(int32_t level, const std::string& text) {
  if (MessageWanted(level)) EmitMessage(level, text);
}

// Reads the header again so that writes through other tables on the file are seen.
void Refresh(int32_t* ifltab, RecordFile& file) {
  NoteFileStatus(ifltab, file.Refresh());
}

int32_t ValueWords(const container::RecordInfo& info) {
  int64_t words = 0;
  for (int area : {dss7::kValues1, dss7::kValues2, dss7::kValues3})
    words += std::clamp<int64_t>(info.area_length[area], 0, std::numeric_limits<int32_t>::max());
  return static_cast<int32_t>(std::min<int64_t>(words, std::numeric_limits<int32_t>::max()));
}

// The name with a time-series E part of the interval vocabulary in the spelling the engine
// writes ("15MIN" becomes "15Minute"); empty when the E part names no such interval.
std::string WrittenSpelling(std::string_view name) {
  PathnameParts parts{};
  if (SplitPathname(name, &parts) != 0) return {};
  const std::string_view e = Part(name, parts, 4);
  const series::Interval* interval =
      VocabularyIntervalName(e).empty() ? nullptr : series::FindInterval(e);
  if (interval == nullptr) return {};
  std::string written(name);
  written.replace(static_cast<std::size_t>(parts.begin[4] - 1), e.size(), interval->name);
  return written;
}

// Runs op on the name as given and, when the file has no record under it, on its written
// spelling: the HECLIB 6 catalog lists time-series E parts in the vocabulary's spelling
// ("15MIN", "1MON"), and each listed name must find its record ("15Minute", "1Month").
template <typename Op>
Status OnRecordNamed(std::string_view name, Op op) {
  const Status s = op(name);
  if (s != Status::kNotFound) return s;
  const std::string written = WrittenSpelling(name);
  return written.empty() || dss7::SamePath(written, name) ? s : op(std::string_view(written));
}

int32_t UndeleteAll(int32_t* ifltab, container::Container& file) {
  std::vector<container::CatalogItem> deleted;
  Status s = file.DeletedCatalog(&deleted);
  if (s != Status::kOk) {
    NoteFileStatus(ifltab, s);
    return FatalCode(s) != 0 ? FatalCode(s) : 1;
  }
  int32_t restored = 0;
  for (const auto& entry : deleted) {
    s = file.Undelete(entry.path);
    if (s == Status::kOk) {
      ++restored;
    } else if (FatalCode(s) != 0 && s != Status::kDamaged && s != Status::kPathMismatch) {
      // One record whose space was reused does not stop the others; a failing file does.
      NoteFileStatus(ifltab, s);
      return FatalCode(s);
    }
  }
  return restored > 0 ? 0 : 1;
}

}  // namespace

int32_t GuessRecordType(std::string_view path) {
  PathnameParts parts{};
  if (SplitPathname(path, &parts) != 0) return 0;
  const std::string_view e = Part(path, parts, 4);
  int32_t type = 0;
  if (e.size() >= 4 && RegularIntervalSeconds(e) > 0) {
    type = 100;
  } else if (IrregularBlockRank(e) > 0 ||
             (e.size() >= 5 && e[0] == '~' && RegularIntervalSeconds(e.substr(1)) > 0)) {
    // "~1DAY": a pseudo-regular series, stored as irregular.
    type = 110;
  } else {
    return 0;
  }
  const std::string_view d = Part(path, parts, 3);
  if (d.size() >= 3 && AsciiUpper(d[0]) == 'T' && AsciiUpper(d[1]) == 'S' && d[2] == '-') ++type;
  return type;
}

RecordTypeAnswer CheckRecordType(int32_t* ifltab, std::string_view path) {
  RecordTypeAnswer answer;
  RecordFile* file = FileOfTable(ifltab, nullptr);
  if (file == nullptr) return answer;
  const std::string_view name = TrimTrailingBlanks(path);
  Refresh(ifltab, *file);
  container::RecordInfo info;
  const Status s = OnRecordNamed(
      name, [&](std::string_view named) { return file->file().Lookup(named, &info); });
  if (s == Status::kOk) {
    answer.found = true;
    answer.type = info.type;
    answer.data_words = ValueWords(info);
  } else {
    NoteFileStatus(ifltab, s);
    answer.type = GuessRecordType(name);
  }
  SetLastRecordType(answer.type);
  return answer;
}

bool RenameRecord(int32_t* ifltab, std::string_view path, int32_t npath, std::string_view new_path,
                  int32_t nnpath) {
  RecordFile* file = FileOfTable(ifltab, nullptr);
  if (file == nullptr) return false;
  const std::string_view old_given = Prefix(path, npath);
  const std::string_view new_name = Prefix(new_path, nnpath);
  if (old_given == new_name || new_name.empty()) return false;
  const std::string_view old_name = TrimTrailingBlanks(old_given);
  const Status s = OnRecordNamed(
      old_name, [&](std::string_view named) { return file->file().Rename(named, new_name); });
  if (s == Status::kOk) {
    Message(3, " -----DSS---ZRENAM:  " + std::string(old_name) + " renamed to " +
                   std::string(new_name));
    return true;
  }
  NoteFileStatus(ifltab, s);
  if (s == Status::kNotFound) {
    Message(2, " -----DSS---ZRENAM:  Caution; record not found: " + std::string(old_name));
  } else if (s == Status::kInvalidArgument) {
    Message(2, " -----DSS---ZRENAM:  Cannot rename to: " + std::string(new_name));
  }
  return false;
}

bool DeleteRecord(int32_t* ifltab, std::string_view path) {
  RecordFile* file = FileOfTable(ifltab, nullptr);
  if (file == nullptr) return false;
  const std::string_view name = TrimTrailingBlanks(path);
  const Status s =
      OnRecordNamed(name, [&](std::string_view named) { return file->file().Delete(named); });
  if (s == Status::kOk) {
    Message(3, " -----DSS---ZDELET:  Record deleted: " + std::string(name));
    if (file->Figures().records == 0) {
      Message(2, " -----DSS---ZDELET:  Warning; the file now holds no records");
    }
    return true;
  }
  NoteFileStatus(ifltab, s);
  if (s == Status::kNotFound) {
    Message(2, " -----DSS---ZDELET:  Caution; record not found: " + std::string(name));
  }
  return false;
}

int32_t UndeleteRecord(int32_t* ifltab, std::string_view path, int32_t npath) {
  int32_t status = 0;
  RecordFile* file = FileOfTable(ifltab, &status);
  if (file == nullptr) return status;
  const std::string_view name = Prefix(path, npath);
  if (name == "ALL") return UndeleteAll(ifltab, file->file());
  const Status s =
      OnRecordNamed(name, [&](std::string_view named) { return file->file().Undelete(named); });
  switch (s) {
    case Status::kOk:
      Message(3, " -----DSS---ZUNDEL:  Record restored: " + std::string(name));
      return 0;
    case Status::kNotFound:
    case Status::kInvalidArgument:
      return 1;
    case Status::kExists:
      return 2;
    case Status::kDamaged:
    case Status::kPathMismatch:
      NoteFileStatus(ifltab, s);
      return -3;
    default:
      NoteFileStatus(ifltab, s);
      return FatalCode(s) != 0 ? FatalCode(s) : 1;
  }
}

int32_t CopyRecord(int32_t* from_table, int32_t* to_table, std::string_view path,
                   std::string_view new_path, int32_t header_words, int32_t data_words) {
  if (header_words <= 0 || data_words <= 0) return -1;
  int32_t status = 0;
  RecordFile* source = FileOfTable(from_table, &status);
  if (source == nullptr) return status;
  RecordFile* target = FileOfTable(to_table, &status);
  if (target == nullptr) return status;
  const std::string_view new_name = TrimTrailingBlanks(new_path);

  Refresh(from_table, *source);
  std::string old_name;  // as the file spells it
  container::RecordInfo info;
  Status s = OnRecordNamed(TrimTrailingBlanks(path), [&](std::string_view named) {
    old_name = named;
    return source->file().Lookup(named, &info);
  });
  if (s != Status::kOk) {
    NoteFileStatus(from_table, s);
    return FatalCode(s) != 0 ? FatalCode(s) : 1;
  }
  if (info.area_length[dss7::kInternalHeader] > header_words ||
      info.area_length[dss7::kHeader2] > data_words) {
    return -2;
  }
  if (!dss7::IsStorablePath(new_name)) return 3;
  if (target->file().read_only()) return -12;
  if (CurrentOptions().protect) {
    Refresh(to_table, *target);
    container::RecordInfo existing;
    if (target->file().Lookup(new_name, &existing) == Status::kOk) return -12;
  }
  s = source->CopyRecord(old_name, *target, new_name);
  if (s == Status::kDamaged || s == Status::kPathMismatch) {
    // The source record itself fails its checks (a target fault is an I/O status).
    NoteFileStatus(from_table, s);
    return static_cast<int32_t>(s);
  }
  switch (s) {
    case Status::kOk:
      Message(3, " -----DSS---ZCOREC:  " + std::string(old_name) + " copied to " +
                     std::string(new_name));
      return 0;
    case Status::kNotFound:
      return 1;
    case Status::kReadOnly:
      return -12;
    case Status::kInvalidArgument:
      // The name was checked: the source record itself cannot be written anywhere.
      NoteFileStatus(from_table, Status::kDamaged);
      return static_cast<int32_t>(Status::kDamaged);
    default:
      NoteFileStatus(to_table, s);
      return static_cast<int32_t>(s);
  }
}

}  // namespace varnock::engine
