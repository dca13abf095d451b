// The version byte chooses the container and record layer.
#include "engine/container/record_reader.h"
#include "engine/dss6/reader.h"
#include "engine/dss7/dss_file.h"
#include "engine/dss7/posix_file_io.h"

namespace varnock::engine::container {

Status OpenRecordReaderIO(std::unique_ptr<dss7::FileIO> io, std::unique_ptr<RecordReader>* out) {
  out->reset();
  if (!io) return Status::kInvalidArgument;
  dss7::VersionInfo version;
  Status s = dss7::DssFile::ProbeVersion(*io, &version);
  if (s != Status::kOk) return s;
  if (version.major == 6) {
    std::unique_ptr<dss6::Dss6File> file;
    s = dss6::Dss6File::OpenIO(std::move(io), &file);
    if (s == Status::kOk) *out = dss6::MakeRecordReader(std::move(file));
    return s;
  }
  dss7::FileOptions options;
  options.read_only = true;
  std::unique_ptr<dss7::DssFile> file;
  s = dss7::DssFile::OpenIO(std::move(io), options, &file);
  if (s == Status::kOk) *out = MakeDss7RecordReader(std::move(file));
  return s;
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
    if (s == Status::kOk) *out = dss6::MakeRecordReader(std::move(file));
    return s;
  }
  dss7::FileOptions options;
  options.program = program;
  std::unique_ptr<dss7::DssFile> file;
  s = dss7::DssFile::Open(path, options, &file);
  if (s == Status::kOk) *out = MakeDss7RecordReader(std::move(file));
  return s;
}

}  // namespace varnock::engine::container
