#include "engine/dss7/integrity.h"

#include <algorithm>

#include "engine/dss7/codec.h"
#include "engine/dss7/dss_file_internal.h"
#include "engine/dss7/hash.h"

namespace varnock::engine::dss7 {
namespace {

constexpr int64_t kScanChunkWords = 1 << 16;
constexpr int64_t kMaxEntryStatus = 15;
constexpr int32_t kMaxEntryPathBytes = 800;
constexpr int32_t kMaxEntryPathWords = 100;
constexpr int32_t kMaxEntryType = 1000;

class Checker {
 public:
  Checker(DssFile& f, IntegrityReport* r) : f_(f), r_(r), h_(f.header()) {}

  void Issue(std::string what, int64_t address) {
    if (r_->issues.size() < IntegrityReport::kMaxIssues) r_->issues.push_back({what, address});
  }

  // 1. Every info block that claims to be current is the one its path's lookup finds.
  Status Links() {
    const int64_t end = std::min(h_[hdr::kFileSize], f_.physical_words());
    std::vector<int64_t> chunk;
    for (int64_t at = 0; at < end; at += kScanChunkWords) {
      chunk.resize(static_cast<size_t>(std::min(kScanChunkWords, end - at)));
      const Status s = f_.io().ReadWords(at, chunk);
      if (s != Status::kOk) return s;
      for (size_t i = 0; i < chunk.size(); ++i) {
        if (chunk[i] != kInfoFlag) continue;
        const int64_t address = at + static_cast<int64_t>(i);
        InfoBlock info;
        if (f_.ReadInfoAt(address, &info) != Status::kOk) continue;
        if (!entry_status::IsLive(info.status) || info.status == entry_status::kAlias ||
            info.path_length < 1) {
          continue;
        }
        ++r_->info_blocks_seen;
        InfoBlock found;
        if (f_.Lookup(info.path, &found) != Status::kOk || found.address != address) {
          Issue("current info block not reachable by its path: " + info.path, address);
        }
      }
    }
    return Status::kOk;
  }

  // 2 and 3: every bin in every block, physically.
  Status Bins() {
    const int64_t bin_size = h_[hdr::kBinSize];
    const int64_t per_block = h_[hdr::kBinsPerBlock];
    const int64_t block_words = per_block * bin_size + 1;
    const int64_t max_blocks = f_.physical_words() / block_words + 1;
    std::vector<int64_t> block(static_cast<size_t>(block_words));
    int64_t address = h_[hdr::kFirstBinAddress];
    for (int64_t n = 0; address != 0; ++n) {
      if (n > max_blocks || address < hdr::kWords || address > f_.physical_words() - block_words) {
        Issue("bad bin block address", address);
        break;
      }
      const Status s = f_.io().ReadWords(address, block);
      if (s != Status::kOk) return s;
      for (int64_t b = 0; b < per_block; ++b) {
        const auto bin = std::span<const int64_t>(block).subspan(static_cast<size_t>(b * bin_size),
                                                                 static_cast<size_t>(bin_size));
        CheckBin(bin, address + b * bin_size);
      }
      address = block.back();
    }
    if (r_->live_entries != h_[hdr::kRecordCount]) {
      Issue("live entries " + std::to_string(r_->live_entries) + " but record count " +
                std::to_string(h_[hdr::kRecordCount]),
            hdr::kRecordCount);
    }
    return Status::kOk;
  }

  // 4. Every chain of the hash table leads to readable, valid info blocks.
  Status HashTable() {
    std::vector<int64_t> table;
    Status s = f_.ReadHashTable(&table);
    if (s != Status::kOk) return s;
    const int64_t bin_size = h_[hdr::kBinSize];
    const int64_t max_bins = f_.physical_words() / bin_size + 1;
    std::vector<int64_t> bin(static_cast<size_t>(bin_size));
    int64_t used = 0;
    for (size_t t = 0; t < table.size(); ++t) {
      if (table[t] != 0) ++used;
      int64_t address = table[t];
      for (int64_t n = 0; address != 0; ++n) {
        if (n > max_bins || address < hdr::kWords || address > f_.physical_words() - bin_size) {
          Issue("bad chain for table hash " + std::to_string(t), address);
          break;
        }
        s = f_.io().ReadWords(address, bin);
        if (s != Status::kOk) return s;
        BinEntry e;
        for (int64_t j = 0; DecodeBinEntry(bin, j, &e) == EntryScan::kEntry; j += e.Words()) {
          const std::string path = BinEntryPath(bin, j, e);
          if (TableHash(path, h_[hdr::kHashTableSize]) != static_cast<int32_t>(t)) {
            Issue("entry in the wrong chain: " + path, address + j);
          }
          if (!entry_status::IsLive(e.status) || e.status == entry_status::kAlias) continue;
          InfoBlock info;
          if (f_.ReadInfoAt(e.info_address, &info) != Status::kOk ||
              CheckInfoBlock(info, h_[hdr::kFileSize]) != Status::kOk) {
            Issue("live entry with a bad info block: " + path, address + j);
          }
        }
        address = bin.back();
      }
    }
    if (used != h_[hdr::kHashesUsed]) Issue("hashes-used count is off", hdr::kHashesUsed);
    return Status::kOk;
  }

 private:
  void CheckBin(std::span<const int64_t> bin, int64_t address) {
    const auto size = static_cast<int64_t>(bin.size());
    int64_t j = 0;
    BinEntry e;
    EntryScan scan;
    while ((scan = DecodeBinEntry(bin, j, &e)) == EntryScan::kEntry) {
      const int64_t at = address + j;
      const std::string path = BinEntryPath(bin, j, e);
      if (e.status < 1 || e.status > kMaxEntryStatus) Issue("invalid entry status", at);
      if (e.path_bytes > kMaxEntryPathBytes || e.path_words > kMaxEntryPathWords) {
        Issue("invalid path length", at);
      }
      if (e.info_address < 1 || e.info_address > h_[hdr::kFileSize]) {
        Issue("info address out of range", at);
      }
      if (e.type < 0 || e.type > kMaxEntryType || e.sequence < 0) Issue("invalid type", at);
      for (unsigned char c : path) {
        if (c < 32 || c == 127) {
          Issue("control byte in path", at);
          break;
        }
      }
      if (entry_status::IsLive(e.status) && e.status != entry_status::kAlias) {
        ++r_->live_entries;
        InfoBlock info;
        if (f_.Lookup(path, &info) != Status::kOk || info.address != e.info_address) {
          Issue("live entry not found by lookup: " + path, at);
        } else if (info.path != path) {
          Issue("info block path differs: " + path, at);
        } else if (CheckInfoBlock(info, h_[hdr::kFileSize]) != Status::kOk) {
          Issue("info block fails its checks: " + path, at);
        }
      }
      j += e.Words();
    }
    if (scan == EntryScan::kMalformed) {
      Issue("malformed bin entry", address + j);
      return;
    }
    for (int64_t k = j; k < size - 1; ++k) {
      if (bin[static_cast<size_t>(k)] != 0) {
        Issue("non-zero word after the last entry", address + k);
        break;
      }
    }
  }

  DssFile& f_;
  IntegrityReport* r_;
  const HeaderWords& h_;
};

}  // namespace

std::string IntegrityReport::Summary() const {
  std::string s = std::to_string(issues.size()) + " issue(s)";
  for (size_t i = 0; i < issues.size() && i < 10; ++i) {
    s += "\n  @" + std::to_string(issues[i].address) + ": " + issues[i].what;
  }
  return s;
}

Status CheckIntegrity(DssFile& file, IntegrityReport* report) {
  *report = {};
  return NoThrow([&]() -> Status {
    Status s = file.Refresh();
    if (s != Status::kOk) return s;
    Checker c(file, report);
    if ((s = c.Links()) != Status::kOk) return s;
    if ((s = c.Bins()) != Status::kOk) return s;
    return c.HashTable();
  });
}

}  // namespace varnock::engine::dss7
