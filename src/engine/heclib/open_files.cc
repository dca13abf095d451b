#include "engine/heclib/open_files.h"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <new>
#include <vector>

#include "engine/heclib/options.h"

namespace varnock::engine {
namespace {

constexpr int kMarkWord = 0;
constexpr int kSlotWord = 1;   // slot index + 1
constexpr int kKeyWord = 2;    // the slot's key
constexpr int kCheckWord = 3;  // key and slot mixed: a table shifted or half-copied fails
constexpr uint32_t kCheckMix = 0x5A17C0DEu;

// Far more than any HECLIB program opens at once; a runaway loop stops here, not at the
// descriptor limit.
constexpr std::size_t kMaxOpenTables = 4096;

std::mutex g_mutex;
std::vector<std::unique_ptr<OpenTable>> g_slots;
std::vector<uint32_t> g_keys;
uint64_t g_key_counter = 0;

uint64_t SplitMix(uint64_t x) {
  x += 0x9E3779B97F4A7C15ull;
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
  return x ^ (x >> 31);
}

// Keys differ between slots, between reuses of one slot and between processes, so a stale
// table almost never matches by chance.
uint32_t NewKey(const int32_t* ifltab) {
  const auto ticks =
      static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  uint32_t key = 0;
  while (key == 0) {
    key = static_cast<uint32_t>(
        SplitMix(++g_key_counter ^ ticks ^ reinterpret_cast<uintptr_t>(ifltab)));
  }
  return key;
}

int32_t CheckValue(uint32_t key, std::size_t slot) {
  return static_cast<int32_t>(key ^ static_cast<uint32_t>(SplitMix(slot)) ^ kCheckMix);
}

// The slot index a table names, or -1. Needs g_mutex.
long SlotOfLocked(const int32_t* ifltab) {
  if (ifltab == nullptr || ifltab[kMarkWord] != kOpenTableMark) return -1;
  const int64_t slot = static_cast<int64_t>(ifltab[kSlotWord]) - 1;
  if (slot < 0 || slot >= static_cast<int64_t>(g_slots.size())) return -1;
  const auto index = static_cast<std::size_t>(slot);
  if (!g_slots[index]) return -1;
  const uint32_t key = g_keys[index];
  if (static_cast<uint32_t>(ifltab[kKeyWord]) != key) return -1;
  if (ifltab[kCheckWord] != CheckValue(key, index)) return -1;
  return static_cast<long>(slot);
}

}  // namespace

OpenTable* TableOf(int32_t* ifltab) {
  std::unique_lock lock(g_mutex);
  const long slot = SlotOfLocked(ifltab);
  return slot < 0 ? nullptr : g_slots[static_cast<std::size_t>(slot)].get();
}

container::RecordFile* FileOfTable(int32_t* ifltab, int32_t* status) {
  OpenTable* table = TableOf(ifltab);
  if (table == nullptr || !table->file) {
    if (status != nullptr) *status = kTableNotOpen;
    return nullptr;
  }
  return table->file.get();
}

bool AttachTable(int32_t* ifltab, OpenTable table) {
  if (ifltab == nullptr) return false;
  auto entry = std::unique_ptr<OpenTable>(new (std::nothrow) OpenTable(std::move(table)));
  if (!entry) return false;
  std::unique_lock lock(g_mutex);
  std::size_t slot = 0;
  while (slot < g_slots.size() && g_slots[slot])
    ++slot;
  if (slot == g_slots.size()) {
    if (slot >= kMaxOpenTables) return false;
    try {
      g_slots.emplace_back();
      g_keys.push_back(0);
    } catch (const std::bad_alloc&) {
      g_slots.resize(slot);
      g_keys.resize(slot);
      return false;
    }
  }
  const uint32_t key = NewKey(ifltab);
  entry->handle = static_cast<int32_t>(slot) + 1;
  g_slots[slot] = std::move(entry);
  g_keys[slot] = key;
  ifltab[kMarkWord] = kOpenTableMark;
  ifltab[kSlotWord] = static_cast<int32_t>(slot) + 1;
  ifltab[kKeyWord] = static_cast<int32_t>(key);
  ifltab[kCheckWord] = CheckValue(key, slot);
  return true;
}

void DetachTable(int32_t* ifltab) {
  if (ifltab == nullptr) return;
  std::unique_ptr<OpenTable> entry;
  {
    std::unique_lock lock(g_mutex);
    const long slot = SlotOfLocked(ifltab);
    if (slot < 0) {
      // A damaged table must not stay marked open, but its other words are not ours to clear.
      if (ifltab[kMarkWord] == kOpenTableMark) ifltab[kMarkWord] = 0;
      return;
    }
    entry = std::move(g_slots[static_cast<std::size_t>(slot)]);
    g_keys[static_cast<std::size_t>(slot)] = 0;
    for (int i = 0; i < kTableWordsUsed; ++i)
      ifltab[i] = 0;
  }
  // Closing may touch the disk: done outside the lock.
  if (entry->file) (void)entry->file->file().Close();
}

int32_t OpenTableCount() {
  std::unique_lock lock(g_mutex);
  int32_t n = 0;
  for (const auto& slot : g_slots)
    n += slot ? 1 : 0;
  return n;
}

int32_t FatalCode(dss7::Status status) {
  const auto code = static_cast<int32_t>(status);
  return code >= 10 ? code : 0;
}

void NoteFileStatus(int32_t* ifltab, dss7::Status status) {
  const int32_t code = FatalCode(status);
  if (code == 0) return;
  OpenTable* table = TableOf(ifltab);
  if (table == nullptr) return;
  table->status_word = code;
  table->error_number = code;
  table->error_text.Assign(dss7::StatusText(status));
}

}  // namespace varnock::engine
