// Every position and constant of the DSS-7 on-disk layout. Code elsewhere names these and never
// spells a word number or flag value itself.
#ifndef VARNOCK_ENGINE_DSS7_LAYOUT_H_
#define VARNOCK_ENGINE_DSS7_LAYOUT_H_

#include <cstdint>

namespace varnock::engine::dss7 {

// Units: an address or size "in words" counts 8-byte words; data-area lengths count int32s.
inline constexpr int64_t kWordBytes = 8;

// Marker words.
inline constexpr int64_t kEndHeaderMarker = -97531;
inline constexpr int64_t kEndFileMarker = -97532;
inline constexpr int64_t kInfoFlag = -97534;
inline constexpr int64_t kSortStartFlag = -97536;
inline constexpr int64_t kSortEndFlag = -97537;

// The permanent section (file header).
namespace hdr {
inline constexpr int kWords = 100;
inline constexpr int kMagic = 0;
inline constexpr int kHeaderSize = 1;
inline constexpr int kVersion = 2;
inline constexpr int kRecordCount = 3;
inline constexpr int kAliasCount = 4;
inline constexpr int kFileSize = 5;
inline constexpr int kDeadSpace = 6;
inline constexpr int kExpansionCount = 7;
inline constexpr int kCollectionCount = 8;
inline constexpr int kRenameCount = 9;
inline constexpr int kDeleteCount = 10;
inline constexpr int kAliasDeleteCount = 11;
inline constexpr int kCreateTime = 12;
inline constexpr int kLastWriteTime = 13;
inline constexpr int kLockWordsAddress = 14;
inline constexpr int kHashTableSize = 15;
inline constexpr int kHashesUsed = 16;
inline constexpr int kMaxEntriesOneHash = 17;
inline constexpr int kMaxEntriesHashValue = 18;
inline constexpr int kHashTableAddress = 19;
inline constexpr int kHashCollisions = 20;
inline constexpr int kBinsPerBlock = 21;
inline constexpr int kBinsLeftInBlock = 22;
inline constexpr int kBinSize = 23;
inline constexpr int kFirstBinAddress = 24;
inline constexpr int kNextBinAddress = 25;
inline constexpr int kBinsUsed = 26;
inline constexpr int kOverflowBins = 27;
// Word 29 is a gap no HEC field uses. Our writers set it to 1 before the first write of an
// operation and back to 0 after its last, so a file left by an interrupted operation is known
// (and repaired) at the next write, and readers know a write is under way.
inline constexpr int kWriteInProgress = 29;
inline constexpr int kSortListSaves = 32;
inline constexpr int kSortStatus = 33;
inline constexpr int kSortNewWrites = 34;
inline constexpr int kSortDeletes = 35;
inline constexpr int kSortListCapacity = 36;
inline constexpr int kSortListCount = 37;
inline constexpr int kSortListAddress = 38;
inline constexpr int kReclaimMin = 39;
inline constexpr int kReclaimLargest = 40;
inline constexpr int kReclaimTotal = 41;
inline constexpr int kReclaimTableAddress = 42;
inline constexpr int kReclaimCurrentTable = 43;
inline constexpr int kReclaimTableIndex = 44;
inline constexpr int kReclaimMaxTables = 45;
inline constexpr int kReclaimTablesAdded = 46;
inline constexpr int kReclaimPairsPerTable = 47;
inline constexpr int kReclaimTableSize = 48;
inline constexpr int kReusedPathSlots = 49;
inline constexpr int kReusedSpaceCount = 50;
inline constexpr int kMaxPath = 51;
inline constexpr int kMaxPartA = 52;           // A..F follow in order, through 57
inline constexpr int kMaxInternalHeader = 58;  // the six area maxima follow, through 63
inline constexpr int kCountInternalHeader = 64;
inline constexpr int kCountHeader2 = 65;
inline constexpr int kCountValues3 = 66;
inline constexpr int kCountUserHeader = 67;
inline constexpr int kCountValues1 = 68;
inline constexpr int kCountValues2 = 69;
inline constexpr int kMaxRecordBody = 70;
inline constexpr int kMaxBodyRts = 71;
inline constexpr int kMaxBodyRtd = 72;
inline constexpr int kMaxBodyIts = 73;
inline constexpr int kMaxBodyItd = 74;
inline constexpr int kMaxBodyPd = 75;  // HEC files 205 here too; 76 is never set
inline constexpr int kMaxBodyOther = 77;
inline constexpr int kExpectedPaths = 78;
inline constexpr int kErrorTotal = 83;
inline constexpr int kDetune = 89;
inline constexpr int kLockArraySize = 90;
inline constexpr int kWriteLockArrayAddress = 91;
inline constexpr int kReadLockArrayAddress = 92;
inline constexpr int kPidArrayAddress = 93;
inline constexpr int kEndHeader = 99;
}  // namespace hdr

// Values a new file gets.
namespace create {
inline constexpr char kVersionString[4] = {'7', '-', 'J', 'A'};
inline constexpr int64_t kLockWordsAddress = 100;  // the first area after the header
inline constexpr int64_t kLockWords = 3;
inline constexpr int64_t kLockArraySize = 25;
inline constexpr int64_t kReclaimTableWords = 1002;
inline constexpr int64_t kReclaimPairs = 500;
inline constexpr int64_t kReclaimMin = 100;
inline constexpr int64_t kReclaimMaxTables = 20;
inline constexpr int64_t kBinsPerBlock = 32;
inline constexpr int64_t kDefaultHashTableSize = 8192;
inline constexpr int64_t kDefaultBinSize = 200;
inline constexpr int64_t kMaxHashTableSize = 100000;
inline constexpr int64_t kMaxBinSize = 400;
}  // namespace create

// Index of the byte holding the major version digit, and the digits HEC knows.
inline constexpr int kVersionByte = 16;
inline constexpr int kMinFullVersion = 70801;  // "7-HA": current time-series layout

// Reader bounds: HEC refuses bin sizes outside these, and never reads more than this at once.
inline constexpr int64_t kMinBinSizeRead = 20;
inline constexpr int64_t kMaxBinSizeRead = 1000;
inline constexpr int64_t kMaxBinsPerBlockRead = 1000;
inline constexpr int64_t kMaxHashTableSizeRead = 1 << 20;
inline constexpr int64_t kMaxAreaInt32 = 10000000;
inline constexpr int64_t kMaxPathBytes = 391;     // longest path a writer may store
inline constexpr int64_t kLookupPathBytes = 392;  // lookups cut paths here
inline constexpr int64_t kMaxPartBytes = 128;

// One pathname bin entry: 7 fixed words, then the path.
namespace bin {
inline constexpr int kHash = 0;
inline constexpr int kStatus = 1;
inline constexpr int kLengths = 2;  // pair (bytes, words)
inline constexpr int kInfoAddress = 3;
inline constexpr int kTypeSequence = 4;  // pair (type, sort-list saves at write)
inline constexpr int kLastWrite = 5;
inline constexpr int kDates = 6;  // pair (first julian, last julian)
inline constexpr int kPath = 7;
inline constexpr int kFixedWords = 7;
// Entries end at least this many words before the bin's end (the last word is the link).
inline constexpr int kReservedTail = 2;
}  // namespace bin

// The record info block: 30 fixed words, then the path.
namespace info {
inline constexpr int kFlag = 0;
inline constexpr int kStatus = 1;
inline constexpr int kPathLength = 2;
inline constexpr int kBinHash = 3;
inline constexpr int kTypeVersion = 4;  // pair (type, version)
inline constexpr int kExpansion = 5;    // pair (times grown, flag)
inline constexpr int kLastWrite = 6;
inline constexpr int kProgram = 7;  // 2 words
inline constexpr int kProgramWords = 2;
inline constexpr int kFirstDate = 9;  // pair (julian, seconds)
inline constexpr int kLastDate = 10;
inline constexpr int kCreation = 11;
inline constexpr int kReserved1 = 12;
inline constexpr int kFirstArea = 13;  // (address, int32 length) per area, six areas
inline constexpr int kAllocated = 25;
inline constexpr int kDataCount = 26;
inline constexpr int kLogicalCount = 27;
inline constexpr int kAliasAddress = 28;
inline constexpr int kReserved2 = 29;
inline constexpr int kPath = 30;
inline constexpr int kFixedWords = 30;
inline constexpr int kMaxStatus = 20;
}  // namespace info

// The six data areas of a record, in their on-disk order.
enum Area : int {
  kInternalHeader = 0,
  kHeader2 = 1,
  kUserHeader = 2,
  kValues1 = 3,
  kValues2 = 4,
  kValues3 = 5,
  kAreaCount = 6,
};
constexpr int InfoAreaAddressWord(int area) {
  return info::kFirstArea + 2 * area;
}
constexpr int InfoAreaLengthWord(int area) {
  return info::kFirstArea + 2 * area + 1;
}

// Status words of bin entries and info blocks.
namespace entry_status {
inline constexpr int64_t kLiveUndeleted = 0;  // HEC's undelete
inline constexpr int64_t kLive = 1;
inline constexpr int64_t kAlias = 2;
inline constexpr int64_t kMoved = 10;
inline constexpr int64_t kDeleted = 11;
inline constexpr int64_t kRenamed = 12;
inline constexpr int64_t kAliasDeleted = 13;
inline constexpr bool IsLive(int64_t s) {
  return s == kLiveUndeleted || s == kLive || s == kAlias;
}
}  // namespace entry_status

// Sort status (header word 33).
namespace sort_status {
inline constexpr int64_t kNone = 0;
inline constexpr int64_t kValid = 1;
inline constexpr int64_t kAdded = 2;
inline constexpr int64_t kUnusable = 3;
}  // namespace sort_status

// Record type ranges HEC tests.
inline constexpr bool IsTimeSeriesType(int32_t t) {
  return t >= 100 && t < 200;
}

// Multi-user access mode stored in the process-ID array.
inline constexpr int64_t kPidModeFactor = 10000000;
inline constexpr int64_t kAccessModeMultiUser = 2;

// Collection paths: F part starting "C:" containing '|', at least this long.
inline constexpr int64_t kMinCollectionPathBytes = 12;

}  // namespace varnock::engine::dss7

#endif  // VARNOCK_ENGINE_DSS7_LAYOUT_H_
