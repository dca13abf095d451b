#include "engine/records/paired/record_io.h"

#include "engine/records/paired/record_layout.h"

namespace varnock::engine::paired {
namespace {

using dss7::Status;

template <typename Data, typename Decode>
Status ReadAndDecode(dss7::DssFile& file, std::string_view path, Decode decode, Data* out,
                     dss7::InfoBlock* info) {
  return NoThrow([&]() -> Status {
    dss7::Record record;
    const Status s = file.ReadRecord(path, &record);
    if (s != Status::kOk) return s;
    if (info != nullptr) *info = record.info;
    return decode(record, out);
  });
}

Status WriteEncoded(dss7::DssFile& file, std::string_view path, const EncodedRecord& record,
                    WritePlan plan, std::string_view program, bool (*same_kind)(int32_t)) {
  dss7::RecordData data = record.View();
  data.program = program;
  // In place, a failure between the areas and the info block would mix old and new.
  data.move_on_rewrite = true;
  dss7::InfoBlock old;
  Status s = file.Lookup(path, &old);
  if (s != Status::kOk && s != Status::kNotFound) return s;
  const bool exists = s == Status::kOk;
  if (exists && plan == WritePlan::kOnlyNew) return Status::kExists;
  if (!exists && plan == WritePlan::kOnlyExisting) return Status::kNotFound;
  if (exists && old.type != record.type) {
    if (!same_kind(old.type)) return Status::kTypeMismatch;
    // HEC deletes and writes anew; one rewrite keeps the old record if the write fails.
    data.any_type = true;
  }
  switch (plan) {
    case WritePlan::kOnlyNew:
      return file.WriteNewRecord(path, data);
    case WritePlan::kOnlyExisting:
      return file.Rewrite(path, data);
    case WritePlan::kAlways:
      break;
  }
  return file.Store(path, data);
}

}  // namespace

Status ReadPairedData(dss7::DssFile& file, std::string_view path, PairedData* out,
                      dss7::InfoBlock* info) {
  const int version = file.version().full;
  auto decode = [version](const dss7::Record& record, PairedData* data) {
    return DecodePaired(record, data, version);
  };
  return ReadAndDecode(file, path, decode, out, info);
}

Status ReadText(dss7::DssFile& file, std::string_view path, TextData* out, dss7::InfoBlock* info) {
  return ReadAndDecode(file, path, DecodeText, out, info);
}

Status ReadLocation(dss7::DssFile& file, std::string_view path, LocationData* out,
                    dss7::InfoBlock* info) {
  return ReadAndDecode(file, path, DecodeLocation, out, info);
}

Status WritePairedData(dss7::DssFile& file, std::string_view path, const PairedData& data,
                       WritePlan plan, std::string_view program) {
  return NoThrow([&]() -> Status {
    EncodedRecord record;
    const Status s = EncodePaired(data, &record);
    if (s != Status::kOk) return s;
    return WriteEncoded(file, path, record, plan, program, IsPairedType);
  });
}

Status WriteText(dss7::DssFile& file, std::string_view path, const TextData& data, WritePlan plan,
                 std::string_view program) {
  return NoThrow([&]() -> Status {
    EncodedRecord record;
    const Status s = EncodeText(data, &record);
    if (s != Status::kOk) return s;
    return WriteEncoded(file, path, record, plan, program, IsTextType);
  });
}

}  // namespace varnock::engine::paired
