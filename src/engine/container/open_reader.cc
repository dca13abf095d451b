// The version byte chooses the container and record layer.
#include "engine/container/record_file.h"
#include "engine/container/record_reader.h"
#include "engine/dss6/reader.h"
#include "engine/dss7/dss_file.h"
#include "engine/dss7/posix_file_io.h"

namespace varnock::engine::container {

namespace {

// HEC's default DSS-6 size code (2048 hash codes).
constexpr int kDss6DefaultSizeCode = 6;

dss6::Options6 Dss6Options(const OpenOptions& options) {
  dss6::Options6 o;
  o.read_only = options.read_only;
  o.exclusive = options.exclusive;
  if (!options.program.empty()) o.program = options.program;
  o.next_tag = options.next_record_tag;
  return o;
}

dss7::FileOptions Dss7Options(const OpenOptions& options) {
  dss7::FileOptions o;
  o.read_only = options.read_only;
  o.exclusive = options.exclusive;
  if (!options.program.empty()) o.program = options.program;
  return o;
}

// Someone holding a DSS-7 file's exclusive word keeps the file to itself.
Status RefuseIfHeldExclusively(dss7::DssFile& file) {
  bool held = false;
  const int64_t lock_words = file.header()[dss7::hdr::kLockWordsAddress];
  return file.io().TestWords(lock_words + 1, 1, &held) == Status::kOk && held
             ? Status::kExclusiveLocked
             : Status::kOk;
}

}  // namespace

Status OpenRecordFileIO(std::unique_ptr<dss7::FileIO> io, const OpenOptions& options,
                        std::unique_ptr<RecordFile>* out) {
  out->reset();
  if (!io) return Status::kInvalidArgument;
  dss7::VersionInfo version;
  Status s = dss7::DssFile::ProbeVersion(*io, &version);
  if (s != Status::kOk) return s;
  if (version.major == 6) {
    std::unique_ptr<dss6::Dss6File> file;
    s = dss6::Dss6File::OpenIO(std::move(io), Dss6Options(options), &file);
    if (s == Status::kOk) *out = dss6::MakeRecordFile(std::move(file));
    return s;
  }
  std::unique_ptr<dss7::DssFile> file;
  s = dss7::DssFile::OpenIO(std::move(io), Dss7Options(options), &file);
  if (s == Status::kOk && !options.exclusive) s = RefuseIfHeldExclusively(*file);
  if (s == Status::kOk) *out = MakeDss7RecordFile(std::move(file));
  return s;
}

Status OpenOrCreateRecordFileIO(std::unique_ptr<dss7::FileIO> io, int new_version,
                                int64_t expected_paths, const OpenOptions& options,
                                std::unique_ptr<RecordFile>* out, bool* created) {
  out->reset();
  *created = false;
  if (!io) return Status::kInvalidArgument;
  int64_t size = 0;
  Status s = io->SizeBytes(&size);
  if (s != Status::kOk) return s;
  dss7::VersionInfo version;
  // An existing file keeps its version; only an empty one is made anew.
  if (size != 0 && dss7::DssFile::ProbeVersion(*io, &version) == Status::kOk &&
      version.major == 6) {
    return OpenRecordFileIO(std::move(io), options, out);
  }
  if (new_version == 6) {
    if (size != 0) return OpenRecordFileIO(std::move(io), options, out);
    if (io->ReadOnly() || options.read_only) return Status::kReadOnly;
    // Empty, or being made by another process right now: decide under the lock that DSS-7
    // creators take too, so that of several processes exactly one creates the file.
    if ((s = dss7::DssFile::LockForCreate(*io, Dss7Options(options))) != Status::kOk) return s;
    dss7::FileIO& locked = *io;
    if ((s = io->SizeBytes(&size)) != Status::kOk) return s;
    if (size != 0) {
      (void)locked.UnlockWords(dss7::create::kLockWordsAddress, 1);
      return OpenRecordFileIO(std::move(io), options, out);
    }
    std::unique_ptr<dss6::Dss6File> file;
    s = dss6::Dss6File::CreateIO(std::move(io), kDss6DefaultSizeCode, Dss6Options(options), &file);
    // A failed create has closed the file, and so released the lock.
    if (s != Status::kOk) return s;
    (void)locked.UnlockWords(dss7::create::kLockWordsAddress, 1);
    *created = true;
    *out = dss6::MakeRecordFile(std::move(file));
    return s;
  }
  dss7::CreateOptions create;
  create.expected_paths = expected_paths;
  std::unique_ptr<dss7::DssFile> file;
  s = dss7::DssFile::OpenOrCreateIO(std::move(io), create, Dss7Options(options), &file, created);
  if (s == Status::kOk) *out = MakeDss7RecordFile(std::move(file));
  return s;
}

Status OpenRecordReaderIO(std::unique_ptr<dss7::FileIO> io, std::unique_ptr<RecordReader>* out) {
  out->reset();
  if (!io) return Status::kInvalidArgument;
  dss7::VersionInfo version;
  Status s = dss7::DssFile::ProbeVersion(*io, &version);
  if (s != Status::kOk) return s;
  if (version.major == 6) {
    std::unique_ptr<dss6::Dss6File> file;
    s = dss6::Dss6File::OpenIO(std::move(io), &file);
    if (s == Status::kOk) *out = dss6::MakeRecordFile(std::move(file));
    return s;
  }
  dss7::FileOptions options;
  options.read_only = true;
  std::unique_ptr<dss7::DssFile> file;
  s = dss7::DssFile::OpenIO(std::move(io), options, &file);
  if (s == Status::kOk) *out = MakeDss7RecordFile(std::move(file));
  return s;
}

Status OpenRecordFile(const std::string& path, const OpenOptions& options,
                      std::unique_ptr<RecordFile>* out) {
  out->reset();
  std::unique_ptr<dss7::PosixFileIO> io;
  const auto mode = options.read_only ? dss7::PosixFileIO::Mode::kReadOnly
                                      : dss7::PosixFileIO::Mode::kReadWriteOrReadOnly;
  const Status s = dss7::PosixFileIO::Open(path, mode, &io);
  if (s != Status::kOk) return s;
  return OpenRecordFileIO(std::move(io), options, out);
}

Status OpenOrCreateRecordFile(const std::string& path, int new_version, const OpenOptions& options,
                              std::unique_ptr<RecordFile>* out, bool* created) {
  out->reset();
  *created = false;
  std::unique_ptr<dss7::PosixFileIO> io;
  const Status s = dss7::PosixFileIO::Open(path, dss7::PosixFileIO::Mode::kCreate, &io);
  if (s != Status::kOk) return s;
  return OpenOrCreateRecordFileIO(std::move(io), new_version, 0, options, out, created);
}

Status OpenRecordReader(const std::string& path, std::unique_ptr<RecordReader>* out) {
  std::unique_ptr<dss7::PosixFileIO> io;
  const Status s = dss7::PosixFileIO::Open(path, dss7::PosixFileIO::Mode::kReadOnly, &io);
  if (s != Status::kOk) return s;
  return OpenRecordReaderIO(std::move(io), out);
}

Status OpenRecordReaderForWrite(const std::string& path, const std::string& program,
                                std::unique_ptr<RecordReader>* out) {
  out->reset();
  std::unique_ptr<dss7::PosixFileIO> io;
  Status s = dss7::PosixFileIO::Open(path, dss7::PosixFileIO::Mode::kReadOnly, &io);
  if (s != Status::kOk) return s;
  dss7::VersionInfo version;
  s = dss7::DssFile::ProbeVersion(*io, &version);
  io.reset();
  if (s != Status::kOk) return s;
  if (version.major == 6) {
    dss6::Options6 options;
    options.program = program;
    std::unique_ptr<dss6::Dss6File> file;
    s = dss6::Dss6File::Open(path, options, &file);
    if (s == Status::kOk) *out = dss6::MakeRecordFile(std::move(file));
    return s;
  }
  dss7::FileOptions options;
  options.program = program;
  std::unique_ptr<dss7::DssFile> file;
  s = dss7::DssFile::Open(path, options, &file);
  if (s == Status::kOk) *out = MakeDss7RecordFile(std::move(file));
  return s;
}

}  // namespace varnock::engine::container
