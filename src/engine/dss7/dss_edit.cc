// Delete, undelete and rename: status changes and new index entries for existing records.
#include <string>

#include "engine/dss7/codec.h"
#include "engine/dss7/dss_file.h"
#include "engine/dss7/dss_file_internal.h"
#include "engine/dss7/hash.h"

namespace varnock::engine::dss7 {
namespace {

void MarkSortUnusable(HeaderWords& h) {
  if (h[hdr::kSortStatus] > sort_status::kNone) h[hdr::kSortStatus] = sort_status::kUnusable;
}

// Time-series records keep their D and E parts when renamed.
std::string KeepBlockParts(std::string_view old_path, std::string_view new_path) {
  std::array<std::string_view, 6> o, n;
  if (!SplitParts(old_path, &o) || !SplitParts(new_path, &n)) return std::string(new_path);
  std::string out = "/";
  const std::array<std::string_view, 6> parts = {n[0], n[1], n[2], o[3], o[4], n[5]};
  for (auto p : parts) {
    out.append(p);
    out.push_back('/');
  }
  return out;
}

}  // namespace

Status DssFile::Delete(std::string_view path) {
  if (!open_) return Status::kNotOpen;
  Status s = BeginWrite();
  if (s != Status::kOk) return s;
  return EndWrite(NoThrow([&]() -> Status {
    Probe probe;
    Status st = FindEntry(path, Want::kLive, &probe);
    if (st != Status::kOk) return st;
    Writer w(*this);
    auto& h = header_;
    AddTo(h, hdr::kRecordCount, -1);
    AddTo(h, hdr::kDeleteCount, 1);
    AddTo(h, hdr::kSortDeletes, 1);
    MarkSortUnusable(h);
    w.CountAreas(probe.info, -1);
    h[hdr::kLastWriteTime] = Now();
    // The info block first: until the entry changes, the record still reads.
    if ((st = w.WriteWord(probe.info.address + info::kStatus, entry_status::kDeleted)) !=
        Status::kOk) {
      return st;
    }
    const int64_t entry_at = probe.entry_bin + probe.entry_offset;
    if ((st = w.WriteWord(entry_at + bin::kStatus, entry_status::kDeleted)) != Status::kOk) {
      return st;
    }
    return WriteHeader();
  }));
}

Status DssFile::Undelete(std::string_view path) {
  if (!open_) return Status::kNotOpen;
  Status s = BeginWrite();
  if (s != Status::kOk) return s;
  return EndWrite(NoThrow([&]() -> Status {
    Probe probe;
    Status st = FindEntry(path, Want::kLive, &probe);
    if (st == Status::kOk) return Status::kExists;
    if (st != Status::kNotFound) return st;
    st = FindEntry(path, Want::kDeleted, &probe);
    if (st != Status::kOk) return st;
    // The space must still hold this record.
    if (probe.info.status != entry_status::kDeleted) return Status::kPathMismatch;
    st = CheckInfoBlock(probe.info, physical_words_);
    if (st != Status::kOk) return st;
    Writer w(*this);
    auto& h = header_;
    AddTo(h, hdr::kRecordCount, 1);
    AddTo(h, hdr::kDeleteCount, -1);
    AddTo(h, hdr::kSortDeletes, -1);
    MarkSortUnusable(h);
    w.CountAreas(probe.info, +1);
    h[hdr::kLastWriteTime] = Now();
    // Status 1, not HEC's 0: both read as live, and HEC's bin check accepts only 1.
    if ((st = w.WriteWord(probe.info.address + info::kStatus, entry_status::kLive)) !=
        Status::kOk) {
      return st;
    }
    const int64_t entry_at = probe.entry_bin + probe.entry_offset;
    if ((st = w.WriteWord(entry_at + bin::kStatus, entry_status::kLive)) != Status::kOk) return st;
    return WriteHeader();
  }));
}

Status DssFile::Rename(std::string_view old_path, std::string_view new_path) {
  if (!open_) return Status::kNotOpen;
  if (old_path == new_path) return Status::kInvalidArgument;
  if (!SamePath(old_path, new_path)) return DoRename(old_path, new_path);
  // Only the case changes: go through a temporary name, as HEC does.
  return NoThrow([&]() -> Status {
    std::array<std::string_view, 6> parts;
    if (!SplitParts(new_path, &parts)) return Status::kInvalidArgument;
    std::string temp = "/";
    for (int p = 0; p < 5; ++p) {
      temp.append(parts[p]);
      temp.push_back('/');
    }
    temp += "<<__" + std::to_string(Now()) + "__>>/";
    Status s = DoRename(old_path, temp);
    if (s != Status::kOk) return s;
    return DoRename(temp, new_path);
  });
}

Status DssFile::DoRename(std::string_view old_path, std::string_view requested) {
  Status s = BeginWrite();
  if (s != Status::kOk) return s;
  return EndWrite(NoThrow([&]() -> Status {
    Probe old_probe;
    Status st = FindEntry(old_path, Want::kLive, &old_probe);
    if (st != Status::kOk) return st;
    const InfoBlock old = old_probe.info;
    const std::string new_path =
        IsTimeSeriesType(old.type) ? KeepBlockParts(old.path, requested) : std::string(requested);
    if (!IsStorablePath(new_path) || new_path == old.path) return Status::kInvalidArgument;
    Writer w(*this);
    auto& h = header_;
    const int64_t now = Now();

    Probe target;
    target.full_walk = true;
    st = FindEntry(new_path, Want::kLive, &target);
    if (st != Status::kOk && st != Status::kNotFound) return st;
    if (target.found) {
      if (target.info.address == old.address) return Status::kInvalidArgument;
      // A record already under the new name is deleted (10.3), once the new entry is linked.
      AddTo(h, hdr::kRecordCount, -1);
      AddTo(h, hdr::kDeleteCount, 1);
      AddTo(h, hdr::kSortDeletes, 1);
      w.CountAreas(target.info, -1);
    }

    // The renamed record gets a new info block (marked moved until its entry is linked), so
    // the old name stays whole until the new one is in place.
    InfoBlock b = old;
    b.status = entry_status::kMoved;
    b.path = new_path;
    b.path_length = static_cast<int64_t>(new_path.size());
    b.bin_hash = target.bin_hash;
    b.address = w.Allocate(b.Words());

    BinEntry e;
    e.hash = target.bin_hash;
    e.status = entry_status::kLive;
    e.type = old.type;
    e.sequence = static_cast<int32_t>(h[hdr::kSortListSaves]);
    e.last_write_ms = old_probe.entry.last_write_ms;
    e.first_julian = old_probe.entry.first_julian;
    e.last_julian = old_probe.entry.last_julian;
    Placement place;
    if ((st = w.PlanEntry(target, e, new_path, &place)) != Status::kOk) return st;
    w.FinishEntry(&place, b.address);
    EncodeInfoBlock(b, w.TailAt(b.address, b.Words()));
    AddTo(h, hdr::kDeadSpace, old.Words());
    AddTo(h, hdr::kRenameCount, 1);
    AddTo(h, hdr::kSortDeletes, 1);
    AddTo(h, hdr::kSortNewWrites, 1);
    h[hdr::kSortStatus] = sort_status::kUnusable;
    h[hdr::kLastWriteTime] = now;
    w.NoteNewPath(new_path, target);

    if ((st = w.WriteData()) != Status::kOk) return st;
    if ((st = WriteHeader()) != Status::kOk) return st;
    if ((st = w.WriteLink(place)) != Status::kOk) return st;
    if (target.found && ((st = w.WriteWord(target.entry_bin + target.entry_offset + bin::kStatus,
                                           entry_status::kDeleted)) != Status::kOk ||
                         (st = w.WriteWord(target.info.address + info::kStatus,
                                           entry_status::kDeleted)) != Status::kOk)) {
      return st;
    }
    const int64_t old_entry = old_probe.entry_bin + old_probe.entry_offset;
    if ((st = w.WriteWord(old_entry + bin::kStatus, entry_status::kRenamed)) != Status::kOk ||
        (st = w.WriteWord(old.address + info::kStatus, entry_status::kRenamed)) != Status::kOk) {
      return st;
    }
    return w.WriteWord(b.address + info::kStatus, entry_status::kLive);
  }));
}

}  // namespace varnock::engine::dss7
