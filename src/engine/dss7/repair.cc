// Repair after an interrupted write operation (header word 29 still set). The write order
// (dss_file.h) means an interruption can leave only these traces, each fixed here:
//   - a bin block the header claimed whose link never landed, or bin-allocation words torn
//     apart by a header write cut short;
//   - a bin past nextBinAddress filled but never handed out;
//   - a torn link word (hash table or bin link) pointing at no handed-out bin;
//   - words after the last entry of a bin (an entry whose hash word never landed);
//   - a live entry its path's lookup does not find (its link never landed, or a second live
//     entry of a rewrite or rename not yet retired): marked moved;
//   - an info block still marked live whose entry was retired: marked like its entry;
//   - the reachable info block of a live entry still marked moved: marked live, and a rename
//     caught half way finished (the other name retired);
//   - counters: record count, hashes used, bins used and left, records per area;
//   - free space the operation listed or took (space.cc): the reclaim table is emptied.
#include <algorithm>
#include <cctype>
#include <unordered_map>
#include <unordered_set>

#include "engine/dss7/codec.h"
#include "engine/dss7/dss_file.h"
#include "engine/dss7/dss_file_internal.h"
#include "engine/dss7/hash.h"

namespace varnock::engine::dss7 {
namespace {

struct Slot {
  int64_t at = 0;  // entry address
  BinEntry entry;
  std::string path;
};

constexpr std::array<int, kAreaCount> kAreaCountWord = {
    hdr::kCountInternalHeader, hdr::kCountHeader2, hdr::kCountUserHeader,
    hdr::kCountValues1,        hdr::kCountValues2, hdr::kCountValues3};

}  // namespace

Status DssFile::Repair() {
  auto& h = header_;
  const int64_t bin_size = h[hdr::kBinSize];
  const int64_t per_block = h[hdr::kBinsPerBlock];
  const int64_t block_bins_words = per_block * bin_size;
  const int64_t block_words = block_bins_words + 1;
  const int64_t end = std::min(h[hdr::kFileSize], physical_words_);
  Status s;

  // 1. The chain of bin blocks; a link to space never claimed is dropped.
  std::vector<int64_t> blocks;
  for (int64_t at = h[hdr::kFirstBinAddress]; at != 0;) {
    if (at < hdr::kWords || at > end - block_words) return Status::kDamaged;
    blocks.push_back(at);
    std::array<int64_t, 1> link{};
    if ((s = io_->ReadWords(at + block_bins_words, link)) != Status::kOk) return s;
    const bool known = std::find(blocks.begin(), blocks.end(), link[0]) != blocks.end();
    if (link[0] != 0 && (known || link[0] < hdr::kWords || link[0] > end - block_words)) {
      if ((s = PutWord(at + block_bins_words, 0)) != Status::kOk) return s;
      link[0] = 0;
    }
    at = link[0];
  }
  const int64_t next = h[hdr::kNextBinAddress];
  auto holds_next = [&](int64_t block) {
    return next >= block && next <= block + block_bins_words && (next - block) % bin_size == 0;
  };
  auto current = std::find_if(blocks.begin(), blocks.end(), holds_next);
  if (current == blocks.end()) {
    // A block the header claimed whose link never landed: link it now.
    const int64_t left = h[hdr::kBinsLeftInBlock];
    const int64_t candidate = next - (per_block - left) * bin_size;
    if (left < 0 || left >= per_block || candidate < blocks.back() + block_words ||
        candidate > end - block_words) {
      return Status::kDamaged;
    }
    if ((s = PutWord(blocks.back() + block_bins_words, candidate)) != Status::kOk) return s;
    blocks.push_back(candidate);
    current = blocks.end() - 1;
  }
  const int64_t current_block = *current;
  const auto full_blocks = static_cast<int64_t>(current - blocks.begin());
  h[hdr::kBinsLeftInBlock] = (current_block + block_bins_words - next) / bin_size;
  h[hdr::kBinsUsed] = full_blocks * per_block + (next - current_block) / bin_size;

  // Bins never handed out must be empty.
  std::vector<int64_t> words(static_cast<size_t>(current_block + block_bins_words - next));
  if (!words.empty()) {
    if ((s = io_->ReadWords(next, words)) != Status::kOk) return s;
    if (std::any_of(words.begin(), words.end(), [](int64_t w) { return w != 0; })) {
      std::fill(words.begin(), words.end(), 0);
      if ((s = Put(next, words)) != Status::kOk) return s;
    }
  }

  // 2. Every handed-out bin: entries, the words after them, the link word.
  std::vector<int64_t> bins;
  for (auto it = blocks.begin(); it != current; ++it) {
    for (int64_t b = 0; b < per_block; ++b)
      bins.push_back(*it + b * bin_size);
  }
  for (int64_t at = current_block; at < next; at += bin_size)
    bins.push_back(at);
  const std::unordered_set<int64_t> handed_out(bins.begin(), bins.end());
  std::vector<Slot> slots;
  std::vector<int64_t> bin(static_cast<size_t>(bin_size));
  for (const int64_t at : bins) {
    if ((s = io_->ReadWords(at, bin)) != Status::kOk) return s;
    int64_t j = 0;
    BinEntry e;
    while (DecodeBinEntry(bin, j, &e) == EntryScan::kEntry) {
      slots.push_back({at + j, e, BinEntryPath(bin, j, e)});
      j += e.Words();
    }
    bool changed = false;
    for (int64_t k = j; k < bin_size - 1; ++k) {
      changed = changed || bin[static_cast<size_t>(k)] != 0;
      bin[static_cast<size_t>(k)] = 0;
    }
    int64_t& link = bin[static_cast<size_t>(bin_size - 1)];
    if (link != 0 && (link == at || handed_out.count(link) == 0)) {
      link = 0;
      changed = true;
    }
    if (changed && (s = Put(at, bin)) != Status::kOk) return s;
  }

  // 3. Hash-table words that point at no handed-out bin (a torn link).
  DropCaches();
  if ((s = EnsureHashTable()) != Status::kOk) return s;
  int64_t used = 0;
  for (size_t t = 0; t < hash_table_.size(); ++t) {
    if (hash_table_[t] != 0 && handed_out.count(hash_table_[t]) == 0) {
      const int64_t word = h[hdr::kHashTableAddress] + static_cast<int64_t>(t);
      if ((s = PutWord(word, 0)) != Status::kOk) return s;
      hash_table_[t] = 0;
    }
    if (hash_table_[t] != 0) ++used;
  }
  h[hdr::kHashesUsed] = used;

  // 4. Live entries must be what their lookups find; the rest are left behind as moved.
  struct Live {
    Slot slot;
    InfoBlock info;
  };
  std::vector<Live> live;
  // Where each path's lookup lands, from one walk of every chain (a lookup per entry would
  // cost the square of a long chain): the first live entry of the path in the chain of its
  // table hash whose info block carries its hash.
  std::unordered_map<std::string, std::pair<int64_t, InfoBlock>> found;
  for (size_t t = 0; t < hash_table_.size(); ++t) {
    int64_t visited = 0;
    for (int64_t at = hash_table_[t]; at != 0 && visited <= static_cast<int64_t>(bins.size());
         ++visited) {
      if ((s = ReadBin(at, bin)) != Status::kOk) return s;
      BinEntry e;
      for (int64_t j = 0; DecodeBinEntry(bin, j, &e) == EntryScan::kEntry; j += e.Words()) {
        if (!entry_status::IsLive(e.status) || e.status == entry_status::kAlias) continue;
        const std::string path = BinEntryPath(bin, j, e);
        std::string key = path;
        for (char& c : key)
          c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        if (found.count(key) != 0 || e.hash != BinHash(path) ||
            TableHash(path, h[hdr::kHashTableSize]) != static_cast<int32_t>(t)) {
          continue;
        }
        InfoBlock info;
        if (ResolveInfo(e.info_address, e.hash, &info) == Status::kOk)
          found.emplace(std::move(key), std::make_pair(at + j, std::move(info)));
      }
      at = bin[static_cast<size_t>(bin_size - 1)];
    }
  }
  for (auto& slot : slots) {
    if (!entry_status::IsLive(slot.entry.status) || slot.entry.status == entry_status::kAlias) {
      continue;
    }
    std::string key = slot.path;
    for (char& c : key)
      c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    const auto it = found.find(key);
    if (it != found.end() && it->second.first == slot.at) {
      live.push_back({slot, it->second.second});
      continue;
    }
    if ((s = PutWord(slot.at + bin::kStatus, entry_status::kMoved)) != Status::kOk) return s;
    slot.entry.status = entry_status::kMoved;
  }

  // 5. Info blocks of retired entries that still claim to be current.
  for (const auto& slot : slots) {
    const int64_t st = slot.entry.status;
    if (st != entry_status::kMoved && st != entry_status::kDeleted &&
        st != entry_status::kRenamed) {
      continue;
    }
    InfoBlock info;
    if (ReadInfoAt(slot.entry.info_address, &info) != Status::kOk ||
        info.bin_hash != slot.entry.hash || !entry_status::IsLive(info.status)) {
      continue;
    }
    Probe probe;
    if (FindEntry(slot.path, Want::kLive, &probe) == Status::kOk &&
        probe.info.address == info.address) {
      continue;
    }
    if ((s = PutWord(info.address + info::kStatus, st)) != Status::kOk) return s;
  }

  // 6. Reachable info blocks still marked moved: the operation got as far as its link.
  std::unordered_map<int64_t, size_t> by_areas;  // internal-header address -> live index
  for (size_t i = 0; i < live.size(); ++i) {
    if (entry_status::IsLive(live[i].info.status))
      by_areas[live[i].info.area_address[kInternalHeader]] = i;
  }
  std::vector<bool> retired(live.size(), false);
  for (auto& l : live) {
    if (entry_status::IsLive(l.info.status)) continue;
    // A rename writes a new info block over the same areas: finish it by retiring the old
    // name.
    const auto other = by_areas.find(l.info.area_address[kInternalHeader]);
    if (other != by_areas.end() && live[other->second].info.address != l.info.address) {
      const Live& old = live[other->second];
      if ((s = PutWord(old.slot.at + bin::kStatus, entry_status::kRenamed)) != Status::kOk ||
          (s = PutWord(old.info.address + info::kStatus, entry_status::kRenamed)) != Status::kOk) {
        return s;
      }
      retired[other->second] = true;
    }
    if ((s = PutWord(l.info.address + info::kStatus, entry_status::kLive)) != Status::kOk) {
      return s;
    }
  }

  // 7. Counters that follow from the index.
  int64_t records = 0;
  std::array<int64_t, kAreaCount> with_area{};
  for (size_t i = 0; i < live.size(); ++i) {
    if (retired[i]) continue;
    ++records;
    for (int a = 0; a < kAreaCount; ++a) {
      if (live[i].info.area_length[a] > 0) ++with_area[a];
    }
  }
  // 8. Free space listed by the interrupted operation may already be in use: give it all up.
  const int64_t table_at = h[hdr::kReclaimTableAddress];
  if (h[hdr::kReclaimTableSize] == create::kReclaimTableWords &&
      h[hdr::kReclaimPairsPerTable] == create::kReclaimPairs && table_at >= hdr::kWords &&
      table_at <= end - create::kReclaimTableWords) {
    std::vector<int64_t> pairs(static_cast<size_t>(2 * create::kReclaimPairs));
    if ((s = io_->ReadWords(table_at, pairs)) != Status::kOk) return s;
    if (std::any_of(pairs.begin(), pairs.end(), [](int64_t w) { return w != 0; })) {
      std::fill(pairs.begin(), pairs.end(), 0);
      if ((s = Put(table_at, pairs)) != Status::kOk) return s;
    }
  }
  h[hdr::kReclaimTotal] = 0;
  h[hdr::kReclaimLargest] = 0;
  h[hdr::kRecordCount] = records;
  for (int a = 0; a < kAreaCount; ++a)
    h[kAreaCountWord[a]] = with_area[a];
  h[hdr::kWriteInProgress] = 0;
  if ((s = io_->WriteWords(0, header_)) != Status::kOk) return s;
  marked_ = false;
  return Status::kOk;
}

}  // namespace varnock::engine::dss7
