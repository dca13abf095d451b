// Every position and constant of the DSS-6 on-disk layout. Code elsewhere names these and never
// spells a word number or flag value itself.
//
// Units: a DSS-6 word is 4 bytes. Addresses stored in the file are 1-based word numbers; 127
// words fill each 512-byte physical record, whose last 4 bytes belong to no word. Offsets
// inside a header, bin, entry, info block or record area below are 0-based word offsets.
#ifndef VARNOCK_ENGINE_DSS6_LAYOUT_H_
#define VARNOCK_ENGINE_DSS6_LAYOUT_H_

#include <cstdint>

namespace varnock::engine::dss6 {

inline constexpr int64_t kWordBytes = 4;
inline constexpr int64_t kWordsPerRecord = 127;
inline constexpr int64_t kRecordBytes = 512;
inline constexpr int64_t kFirstAddress = 1;

// Byte offset of the word at a 1-based address.
constexpr int64_t ByteOffset(int64_t address) {
  return kRecordBytes * ((address - 1) / kWordsPerRecord) +
         kWordBytes * ((address - 1) % kWordsPerRecord);
}
// Words addressable in a file of `bytes` bytes (a partial last word does not count).
constexpr int64_t WordsInBytes(int64_t bytes) {
  const int64_t whole = bytes / kRecordBytes;
  const int64_t tail_words = (bytes % kRecordBytes) / kWordBytes;
  return whole * kWordsPerRecord + (tail_words < kWordsPerRecord ? tail_words : kWordsPerRecord);
}

// HEC refuses to go past this physical record; addresses are signed 32-bit, so a file holds
// about 8 GB at most.
inline constexpr int64_t kMaxPhysicalRecords = 16777200;
inline constexpr int64_t kMaxFileWords = kMaxPhysicalRecords * kWordsPerRecord;

// Marker words.
inline constexpr int32_t kInfoFlag = -9753;
inline constexpr int32_t kEndFileMarker = -9630;
inline constexpr int32_t kCrashedFileSize = -1357;  // H6 of a file a dead writer kept locked

// The permanent section (file header): 69 words. Indices are 0-based (Hn is index n - 1).
namespace hdr {
inline constexpr int kWords = 69;
inline constexpr int kMagic = 0;              // H1 "ZDSS"
inline constexpr int kRecordCount = 1;        // H2 live records
inline constexpr int kTagSequence = 2;        // H3
inline constexpr int kSizeCode = 3;           // H4
inline constexpr int kVersion = 4;            // H5 "6-YO"
inline constexpr int kFileSize = 5;           // H6 next free word address
inline constexpr int kDeadSpace = 6;          // H7
inline constexpr int kCreateDate = 7;         // H8-H9
inline constexpr int kLastWriteDate = 9;      // H10-H11
inline constexpr int kLastWriteTime = 11;     // H12-H13
inline constexpr int kTagIndexAddress = 13;   // H14
inline constexpr int kHashCodes = 14;         // H15
inline constexpr int kTableFlag = 15;         // H16: 1 hash table, 2 stable layout
inline constexpr int kBinsPerBlock = 16;      // H17
inline constexpr int kBinsLeft = 17;          // H18
inline constexpr int kBinSize = 18;           // H19, always 127
inline constexpr int kFirstBin = 19;          // H20
inline constexpr int kNextBin = 20;           // H21
inline constexpr int kTagScheme = 21;         // H22-H37
inline constexpr int kBinsUsed = 37;          // H38
inline constexpr int kHashesUsed = 38;        // H39
inline constexpr int kOverflowBins = 39;      // H40
inline constexpr int kMaxEntriesMet = 40;     // H41
inline constexpr int kMaxEntriesHash = 41;    // H42
inline constexpr int kCompressionArea = 42;   // H43
inline constexpr int kCompressionWords = 43;  // H44
inline constexpr int kIrregularGrowth = 44;   // H45
inline constexpr int kIrregularMinimum = 45;  // H46-H50: IR-DAY .. IR-CENTURY
inline constexpr int kPassword = 50;          // H51-H52
inline constexpr int kLongestParts = 52;      // H53-H54: one byte per part A..F
inline constexpr int kCollectionFlag = 54;    // H55
}  // namespace hdr

// Values HEC's header must hold for us to read the file.
inline constexpr int32_t kTableFlagHash = 1;
inline constexpr int32_t kTableFlagStable = 2;
inline constexpr int32_t kBinWords = 127;
inline constexpr int32_t kMinHashCodes = 1;
inline constexpr int32_t kMaxHashCodes = 16384;
inline constexpr int32_t kMaxBinsPerBlock = 1024;
// Index of the byte holding the major version digit (shared with DSS-7), and the two
// characters a DSS-6 version string starts with.
inline constexpr int kVersionByte = 16;

// Hash table: the word at address kHashTableBase + h (h = 1..H15) heads hash code h's chain.
inline constexpr int64_t kHashTableBase = 69;

// Pathnames.
inline constexpr int32_t kMinPathBytes = 4;
inline constexpr int32_t kMaxPathBytes = 392;
inline constexpr int32_t kLongPathBytes = 80;  // longer paths (or parts > 32) get long statuses
inline constexpr int32_t kLongPartBytes = 32;
constexpr int32_t PathWords(int64_t bytes) {
  return static_cast<int32_t>((bytes + kWordBytes - 1) / kWordBytes);
}

// One bin entry: 11 words plus the path's P words.
namespace bin {
inline constexpr int kStatus = 0;
inline constexpr int kPathBytes = 1;
inline constexpr int kPath = 2;
// The rest follow the path: offset = kPath + P + one of these.
inline constexpr int kInfoAddress = 0;
inline constexpr int kUserHeaderWords = 1;
inline constexpr int kDataWords = 2;
inline constexpr int kLogicalCount = 3;
inline constexpr int kType = 4;
inline constexpr int kTag = 5;  // 2 words
inline constexpr int kHash = 7;
inline constexpr int kPseudoInterval = 8;
inline constexpr int kFixedWords = 11;
inline constexpr int kLastEntryWord = 124;  // entries never start past this offset
inline constexpr int kFitSlack = 14;        // HEC's fit rule: offset + P + 14 <= 127
inline constexpr int kOverflowLink = 125;   // next bin of the same hash code
inline constexpr int kBlockLink = 126;      // last bin of a block: next bin block
}  // namespace bin

// Status words of bin entries and info blocks.
namespace entry_status {
inline constexpr int32_t kEnd = 0;         // no more entries in this bin
inline constexpr int32_t kFull = -1;       // bin full: continue at the overflow link
inline constexpr int32_t kAbandoned = -1;  // info block left behind by a growing rewrite
inline constexpr int32_t kLive = 1;
inline constexpr int32_t kDeleted = 2;
inline constexpr int32_t kRenamed = 3;
inline constexpr int32_t kReplaced = 4;
inline constexpr int32_t kLongPath = 10;  // added to each of the four for a long path
inline constexpr int32_t kMaxStatus = 15;
constexpr int32_t Base(int32_t s) {
  return s > kLongPath ? s - kLongPath : s;
}
constexpr bool IsLive(int32_t s) {
  return Base(s) == kLive;
}
}  // namespace entry_status

// The record info block: 28 words plus the path's P words. Fields after the path sit at
// q + offset with q = 3 + P.
namespace info {
inline constexpr int kFlag = 0;
inline constexpr int kStatus = 1;
inline constexpr int kPathBytes = 2;
inline constexpr int kPath = 3;
inline constexpr int kPassword = 0;  // 2 words
inline constexpr int kDataAddress = 2;
inline constexpr int kDataWords = 3;
inline constexpr int kLogicalCount = 4;
inline constexpr int kVersion = 5;
inline constexpr int kProgram = 6;  // 2 words, 6 characters used
inline constexpr int kDate = 8;     // 2 words, 7 characters used
inline constexpr int kTime = 10;    // 2 words
inline constexpr int kTag = 12;     // 2 words
inline constexpr int kType = 14;
inline constexpr int kCompression = 15;
inline constexpr int kQualityFlag = 16;
inline constexpr int kInternalHeaderAddress = 17;
inline constexpr int kInternalHeaderWords = 18;
inline constexpr int kCompressionHeaderAddress = 19;
inline constexpr int kCompressionHeaderWords = 20;
inline constexpr int kUserHeaderAddress = 21;
inline constexpr int kUserHeaderWords = 22;
inline constexpr int kPrecision = 23;
inline constexpr int kUnusedWords = 24;
inline constexpr int kFixedWords = 28;
inline constexpr int kProgramChars = 6;
inline constexpr int kDateChars = 7;
inline constexpr int kTimeChars = 8;
inline constexpr int kTagChars = 8;
}  // namespace info

// Record type codes.
namespace type {
inline constexpr int32_t kRegularFloat = 100;
inline constexpr int32_t kRegularPattern = 101;
inline constexpr int32_t kRegularDouble = 105;
inline constexpr int32_t kIrregularFloat = 110;
inline constexpr int32_t kIrregularPattern = 111;
inline constexpr int32_t kIrregularDouble = 115;
inline constexpr int32_t kPairedFloat = 200;
inline constexpr int32_t kPairedDouble = 205;
inline constexpr int32_t kText = 300;
}  // namespace type

// The most slots a regular block has (15-minute data in a 31-day month).
inline constexpr int64_t kMaxValuesPerBlock = 2976;

// Missing values.
inline constexpr float kMissing = -901.0f;
inline constexpr float kNotInFile = -902.0f;

// Regular time-series internal header (24 words; older files 9 or 5).
namespace regular_header {
inline constexpr int kOffsetMinutes = 0;
inline constexpr int kUnits = 1;  // 2 words
inline constexpr int kType = 3;   // 2 words
inline constexpr int kZoneOffset = 5;
inline constexpr int kZoneName = 6;         // 6 words (3 in the 9-word layout)
inline constexpr int kCoordinates = 12;     // 3 doubles
inline constexpr int kCoordinateInfo = 18;  // 6 ints
inline constexpr int kWords = 24;
inline constexpr int kMinWords = 5;
}  // namespace regular_header

// Irregular time-series internal header (28 words).
namespace irregular_header {
inline constexpr int kCapacity = 0;
inline constexpr int kCount = 1;
inline constexpr int kBlockJulian = 2;
inline constexpr int kLastTime = 3;  // unreliable: see the record reader
inline constexpr int kPseudoInterval = 4;
inline constexpr int kUnits = 5;  // 2 words
inline constexpr int kType = 7;   // 2 words
inline constexpr int kZoneOffset = 9;
inline constexpr int kZoneName = 10;  // 6 words
inline constexpr int kWords = 28;
inline constexpr int kMinWords = 9;  // through the type field
}  // namespace irregular_header

// Paired-data internal header: 11 words, then 3 words per 12-character label, then (long
// labels) the words per label and the long labels.
namespace paired_header {
inline constexpr int kOrdinates = 0;
inline constexpr int kCurves = 1;
inline constexpr int kAxisFlag = 2;
inline constexpr int kUnitsIndependent = 3;  // 2 words each
inline constexpr int kTypeIndependent = 5;
inline constexpr int kUnitsDependent = 7;
inline constexpr int kTypeDependent = 9;
inline constexpr int kLabels = 11;
inline constexpr int kFixedWords = 11;
inline constexpr int kLabelWords = 3;
inline constexpr int kLabelChars = 12;
inline constexpr int kLabelTestChars = 8;  // labels "exist" if one is non-blank in these
inline constexpr int kMaxCurves = 100;
}  // namespace paired_header

// Text internal header.
namespace text_header {
inline constexpr int kByteCount = 0;
}  // namespace text_header

// Text fields inside internal headers.
inline constexpr int kFieldChars = 8;  // units, types: 2 words

// The compression header, as byte positions within its area.
namespace compression {
inline constexpr int kMarkC = 0;
inline constexpr int kFormatVersion = 1;  // must be 16, as every section's second byte
inline constexpr int kFirstSectionLength = 2;
inline constexpr int kScheme = 3;
inline constexpr int kValueCount = 4;  // int32
inline constexpr int kMarkD = 8;
inline constexpr int kDeltaSectionLength = 10;
inline constexpr int kDeltaBytes = 11;
inline constexpr int kDeltaPower = 12;  // power of ten + 10
inline constexpr int kDeltaBase = 15;   // float
inline constexpr int kMarkS = 21;
inline constexpr int kSigSectionLength = 23;
inline constexpr int kMarkR = 25;
inline constexpr int kRepeatLengthLow = 27;
inline constexpr int kRepeatLengthHigh = 29;
inline constexpr int kRepeatBits = 32;
inline constexpr int kPlainRepeatLength = 7;  // the repeat section without bits
inline constexpr uint8_t kVersion = 16;
inline constexpr int kPowerBias = 10;
inline constexpr int kHeaderWords = 9;
// Schemes.
inline constexpr int kRepeat = 1;
inline constexpr int kDelta = 2;
inline constexpr int kRepeatDelta = 3;
inline constexpr int kSignificant = 4;
inline constexpr int kRepeatSignificant = 5;
// Significant-digit codes with fixed meanings.
inline constexpr uint32_t kCodeZero = 1001;
inline constexpr uint32_t kCodeTinyPositive = 1002;
inline constexpr uint32_t kCodeTinyNegative = 1003;
inline constexpr uint32_t kCodeHugePositive = 1004;
inline constexpr uint32_t kCodeHugeNegative = 1005;
inline constexpr int kExponentBias = 15;
inline constexpr int kNegativeExponent = 32;
}  // namespace compression

}  // namespace varnock::engine::dss6

#endif  // VARNOCK_ENGINE_DSS6_LAYOUT_H_
