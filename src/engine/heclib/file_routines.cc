#include "engine/heclib/file_routines.h"

#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <limits>
#include <set>
#include <string>

#include "engine/dss7/posix_file_io.h"
#include "engine/heclib/message_units.h"
#include "engine/heclib/open_files.h"
#include "engine/rules/dates.h"
#include "engine/rules/dss_file_name.h"

namespace varnock::engine {
namespace {

using dss7::DssFile;
using dss7::PosixFileIO;
using dss7::Status;

// JULDAT style of "07MAR01": upper case, 2-digit year, DSS layout.
constexpr int32_t kShortDateStyle = 114;

int32_t ClampToInt32(int64_t value) {
  return static_cast<int32_t>(std::clamp<int64_t>(value, std::numeric_limits<int32_t>::min(),
                                                  std::numeric_limits<int32_t>::max()));
}

// SIZE's names, as record counts the file layer sizes its table and bins from.
int64_t ExpectedPaths(const Options& options) {
  if (options.size > 0) return options.size;
  std::string text;
  for (char c : TrimBlanks(options.size_text.View()))
    text.push_back(AsciiUpper(c));
  if (text.starts_with("MED")) return 20000;
  if (text.starts_with("LAR")) return 200000;
  if (text.starts_with("EXT") || text.starts_with("XL") || text.starts_with("HUG")) return 2000000;
  return 0;
}

bool OnNetworkFileSystem(const std::string& path) {
  struct statfs info {};
  if (statfs(path.c_str(), &info) != 0) return false;
  switch (static_cast<uint64_t>(info.f_type)) {
    case 0x6969:      // NFS
    case 0x517B:      // SMB
    case 0xFF534D42:  // CIFS
    case 0xFE534D42:  // SMB2
      return true;
    default:
      return false;
  }
}

void Message(int32_t level, const std::string& text) {
  if (MessageWanted(level)) EmitMessage(level, text);
}

int32_t OpenFailure(int32_t status, const std::string& what, std::string_view name) {
  Message(1, " *****DSS*** ZOPEN:  " + what + ": " + std::string(name));
  return status;
}

// Opens or creates per ZOPEN's rules; returns ISTAT. A missing or empty file is created under
// the file's lock, so processes opening it at once never both create it; a file that is not
// empty and not a DSS file is never replaced. New files are DSS-7 unless `new_version` is 6.
int32_t OpenOrCreate(const std::string& path, const Options& options, int new_version,
                     const container::OpenOptions& file_options,
                     std::unique_ptr<container::RecordFile>* file, bool* created) {
  *created = false;
  struct stat info {};
  const bool missing = stat(path.c_str(), &info) != 0;
  if (missing && errno != ENOENT) return OpenFailure(-1, "Unable to access file", path);
  if (missing && options.read_only) {
    return OpenFailure(-2, "File does not exist (read access only)", path);
  }
  // Opening a FIFO or device could block or mean nothing.
  if (!missing && !S_ISREG(info.st_mode)) return OpenFailure(-1, "Not a regular file", path);
  std::unique_ptr<PosixFileIO> io;
  const auto mode = options.read_only ? PosixFileIO::Mode::kReadOnly
                    : missing         ? PosixFileIO::Mode::kCreate
                                      : PosixFileIO::Mode::kReadWriteOrReadOnly;
  if (PosixFileIO::Open(path, mode, &io) != Status::kOk) {
    return OpenFailure(-1, missing ? "Unable to create file" : "Unable to open file", path);
  }
  int64_t size = 0;
  if (io->SizeBytes(&size) != Status::kOk) return OpenFailure(-1, "Unable to read file", path);
  dss7::VersionInfo version;
  Status s = size == 0 ? Status::kNotDssFile : DssFile::ProbeVersion(*io, &version);
  if (s == Status::kNotDssFile) {
    if (io->ReadOnly() && size == 0) {
      return OpenFailure(-2, "Cannot create file (read access only)", path);
    }
    s = container::OpenOrCreateRecordFileIO(std::move(io), new_version, ExpectedPaths(options),
                                            file_options, file, created);
    if (s == Status::kNotDssFile) return OpenFailure(-6, "Not a DSS file", path);
    if (s != Status::kOk) return OpenFailure(-1, "Unable to create file", path);
    if (*created && file_options.exclusive) {
      // Creating takes no exclusive lock: open the new file again to hold it exclusively.
      file->reset();
      const int32_t status = OpenOrCreate(path, options, new_version, file_options, file, created);
      *created = true;
      return status;
    }
    return 0;
  }
  if (s != Status::kOk) return OpenFailure(-1, "Unable to read file", path);
  if (version.major != 6 && version.major != 7) {
    return OpenFailure(-3, "Incompatible DSS version " + version.text, path);
  }
  s = container::OpenRecordFileIO(std::move(io), file_options, file);
  switch (s) {
    case Status::kOk:
      return 0;
    case Status::kExclusiveLocked:
      return OpenFailure(-5, "File is exclusively locked", path);
    case Status::kIncompatibleVersion:
      return OpenFailure(-3, "Incompatible DSS version", path);
    case Status::kInvalidHeader:
    case Status::kNotDssFile:
      return OpenFailure(-2, "Invalid file header", path);
    default:
      return OpenFailure(-1, std::string("Unable to open file (") + dss7::StatusText(s) + ")",
                         path);
  }
}

void Number(InquiryAnswer* a, int64_t value) {
  a->has_number = true;
  a->number = ClampToInt32(value);
}

void Switch(InquiryAnswer* a, bool on) {
  Number(a, on ? 1 : 0);
  a->text.Assign(on ? "ON" : "OFF");
}

// "07MAR01" for the day of a time stamp; blank when there is none.
std::string ShortDate(int64_t millis) {
  LocalStamp stamp;
  if (millis <= 0 || !LocalStampOf(millis, &stamp)) return "";
  char text[16];
  const int32_t n = JulianToDate(stamp.julian, kShortDateStyle, text);
  return std::string(text, static_cast<std::size_t>(std::clamp(n, 0, 16)));
}

std::string ClockTime(int64_t millis) {
  LocalStamp stamp;
  if (millis <= 0 || !LocalStampOf(millis, &stamp)) return "";
  char text[16];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d", stamp.hour, stamp.minute, stamp.second);
  return text;
}

// Deleted records that ZUNDEL could still bring back: no live record has their path.
int64_t RecoverableDeletes(container::Container& file) {
  std::vector<container::CatalogItem> live, deleted;
  if (file.Catalog(&live) != Status::kOk || file.DeletedCatalog(&deleted) != Status::kOk) {
    return 0;
  }
  auto upper = [](std::string text) {
    for (char& c : text)
      c = AsciiUpper(c);
    return text;
  };
  std::set<std::string> live_paths, counted;
  for (const auto& e : live)
    live_paths.insert(upper(e.path));
  for (const auto& e : deleted) {
    std::string key = upper(e.path);
    if (!live_paths.contains(key)) counted.insert(std::move(key));
  }
  return static_cast<int64_t>(counted.size());
}

bool Answer(int32_t* ifltab, std::string_view keyword, std::string_view text_in, int32_t number_in,
            InquiryAnswer* a) {
  OpenTable* table = TableOf(ifltab);
  if (table == nullptr) {
    if (keyword != "STAT" && keyword != "ERRO") return false;
    Number(a, kTableNotOpen);
    if (keyword == "ERRO") a->text.Assign("file not opened");
    return true;
  }
  container::RecordFile& file = *table->file;
  auto fresh = [&] {
    const Status s = file.Refresh();
    NoteFileStatus(ifltab, s);
  };
  if (keyword == "NAME") {
    a->text.Assign(RecordedFileName(table->name));
  } else if (keyword == "NREC") {
    fresh();
    Number(a, file.Figures().records);
  } else if (keyword == "FVER") {
    const container::FileFigures figures = file.Figures();
    Number(a, figures.version_number);
    a->text.Assign(figures.version_text);
  } else if (keyword == "SIZE") {
    fresh();
    Number(a, file.Figures().size_kbytes);
  } else if (keyword == "FSIZ") {
    fresh();
    Number(a, file.Figures().size_words);
  } else if (keyword == "DEAD") {
    fresh();
    Number(a, file.Figures().dead_percent);
  } else if (keyword == "TABL") {
    const bool stable = file.Figures().stable_table;
    Number(a, stable ? 2 : 1);
    a->text.Assign(stable ? "STABLE" : "DYNAMIC");
  } else if (keyword == "HSIZ") {
    Number(a, file.Figures().hash_size);
  } else if (keyword == "FDAT") {
    a->text.Assign(ShortDate(file.Figures().created_ms));
  } else if (keyword == "LWDA") {
    fresh();
    a->text.Assign(ShortDate(file.Figures().last_write_ms));
  } else if (keyword == "LWTI") {
    fresh();
    a->text.Assign(ClockTime(file.Figures().last_write_ms));
  } else if (keyword == "READ") {
    Switch(a, file.file().read_only());
  } else if (keyword == "MULT") {
    Number(a, table->exclusive ? 0 : file.file().read_only() ? 1 : 2);
  } else if (keyword == "STAT") {
    Number(a, table->status_word);
  } else if (keyword == "CLEA") {
    table->status_word = number_in;
    table->error_number = number_in;
    table->error_text.Assign(TrimTrailingBlanks(text_in));
  } else if (keyword == "ERRO") {
    Number(a, table->error_number);
    a->text.Assign(table->error_text.View());
  } else if (keyword == "REMO") {
    Switch(a, table->remote);
  } else if (keyword == "DELE") {
    fresh();
    Number(a, RecoverableDeletes(file.file()));
  } else if (keyword == "UNIT") {
    Number(a, table->handle);
  } else {
    return false;
  }
  return true;
}

}  // namespace

bool LocalStampOf(int64_t millis, LocalStamp* out) {
  const int64_t seconds = millis >= 0 ? millis / 1000 : -((-millis + 999) / 1000);
  const auto t = static_cast<std::time_t>(seconds);
  std::tm local{};
  if (localtime_r(&t, &local) == nullptr) return false;
  if (!YmdToJulian(int64_t{local.tm_year} + 1900, local.tm_mon + 1, local.tm_mday, &out->julian)) {
    return false;
  }
  out->hour = local.tm_hour;
  out->minute = local.tm_min;
  out->second = local.tm_sec;
  return true;
}

int32_t OpenTableFile(int32_t* ifltab, std::string_view name) {
  const Options options = CurrentOptions();
  ResetOpenOptions();
  if (ifltab == nullptr) return -1;
  DetachTable(ifltab);
  std::fill_n(ifltab, kTableWordsUsed, 0);
  std::string path;
  if (!NormaliseDssFileName(name, &path)) return OpenFailure(-10, "No file name given", "");
  if (path.find('\0') != std::string::npos) return OpenFailure(-1, "Invalid file name", path);

  container::OpenOptions file_options;
  file_options.program = std::string(TrimTrailingBlanks(options.program.View()));
  file_options.read_only = options.read_only;
  file_options.exclusive = options.exclusive || options.write_lock;
  file_options.next_record_tag = [](std::string* tag) {
    FixedText<8> text;
    if (!TakeNextRecordTag(&text)) return false;
    *tag = std::string(TrimTrailingBlanks(text.View()));
    return true;
  };
  OpenTable table;
  const int32_t status = OpenOrCreate(path, options, options.NewFileVersion(), file_options,
                                      &table.file, &table.created);
  // DSSV chooses the version of one new file only.
  if (table.created) ResetNewFileVersion();
  if (status != 0) return status;
  table.name = path;
  table.exclusive = file_options.exclusive;
  table.remote = OnNetworkFileSystem(path);
  const bool read_only = table.file->file().read_only();
  const bool created = table.created;
  if (!AttachTable(ifltab, std::move(table))) {
    return OpenFailure(-1, "Too many files open", path);
  }
  SetFileInquiryHook(&AnswerFileInquiry);
  Message(4, std::string(" -----DSS---ZOPEN:  ") + (created ? "New" : "Existing") +
                 " File Opened,  File: " + path);
  if (read_only) Message(4, " -----DSS---ZOPEN:  File opened for read access only");
  return 0;
}

void CloseTableFile(int32_t* ifltab) {
  if (OpenTable* table = TableOf(ifltab); table != nullptr && MessageWanted(2)) {
    container::RecordFile& file = *table->file;
    (void)file.Refresh();
    const container::FileFigures figures = file.Figures();
    char line[200];
    std::snprintf(line, sizeof line,
                  " -----DSS---ZCLOSE  Handle %d;  Number of Records: %lld;  File Size: %lld "
                  "Kbytes;  Percent Inactive: %lld",
                  table->handle, static_cast<long long>(figures.records),
                  static_cast<long long>(std::max<int64_t>(figures.size_kbytes, 1)),
                  static_cast<long long>(figures.dead_percent));
    Message(2, line + std::string(";  File: ") + table->name);
  }
  DetachTable(ifltab);
}

int32_t ProbeFileVersion(std::string_view name, std::span<char> text) {
  AssignBlankPadded(text, {});
  std::string path;
  if (!NormaliseDssFileName(name, &path)) return -1;
  path = std::string(RecordedFileName(path));
  if (path.find('\0') != std::string::npos) return -1;
  struct stat info {};
  if (stat(path.c_str(), &info) != 0) return errno == ENOENT || errno == ENOTDIR ? -1 : -2;
  if (!S_ISREG(info.st_mode)) return -2;
  std::unique_ptr<PosixFileIO> io;
  if (PosixFileIO::Open(path, PosixFileIO::Mode::kReadOnly, &io) != Status::kOk) return -2;
  dss7::VersionInfo version;
  const Status s = DssFile::ProbeVersion(*io, &version);
  if (s == Status::kNotDssFile) return -3;
  if (s != Status::kOk) return -2;
  std::string id = version.text;
  id.resize(4, ' ');
  // An old "xx-n" identifier is turned round so that the major digit comes first.
  if (!IsDigit(id[0]) && id[2] == '-' && IsDigit(id[3])) id = std::string{id[3], '-', id[0], id[1]};
  if (!IsDigit(id[0])) return -3;
  AssignBlankPadded(text, id);
  return id[0] - '0';
}

bool AnswerFileInquiry(int32_t* ifltab, std::string_view keyword, std::string_view text_in,
                       int32_t number_in, InquiryAnswer* a) {
  try {
    return Answer(ifltab, keyword, text_in, number_in, a);
  } catch (...) {
    return false;  // out of memory: as if the keyword were unknown
  }
}

}  // namespace varnock::engine
