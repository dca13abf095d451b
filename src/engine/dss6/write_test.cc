#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "engine/dss6/dss6_file.h"
#include "engine/dss7/test_support.h"
#include "tests/support/fixture_path.h"

namespace varnock::engine::dss6 {
namespace {

std::tm FixtureTime() {
  std::tm t{};
  t.tm_year = 2026 - 1900;
  t.tm_mon = 10;
  t.tm_mday = 22;
  t.tm_hour = 2;
  t.tm_min = 40;
  t.tm_sec = 16;
  return t;
}

Options6 Writable() {
  Options6 o;
  o.clock = FixtureTime;
  o.program = "Undefined";  // HEC's default program name
  return o;
}

std::unique_ptr<Dss6File> Create(std::shared_ptr<dss7::MemoryFileIO::Storage> storage,
                                 int size_code = 6) {
  std::unique_ptr<Dss6File> file;
  EXPECT_EQ(Dss6File::CreateIO(std::make_unique<dss7::MemoryFileIO>(std::move(storage)), size_code,
                               Writable(), &file),
            Status::kOk);
  return file;
}

std::unique_ptr<Dss6File> Reopen(std::shared_ptr<dss7::MemoryFileIO::Storage> storage) {
  std::unique_ptr<Dss6File> file;
  EXPECT_EQ(
      Dss6File::OpenIO(std::make_unique<dss7::MemoryFileIO>(std::move(storage)), Writable(), &file),
      Status::kOk);
  return file;
}

// Every bin entry of a file, whatever its status, in bin order.
std::vector<BinEntry> AllEntries(Dss6File& f) {
  std::vector<BinEntry> out;
  const auto& h = f.header();
  int64_t address = h[hdr::kFirstBin];
  std::array<int32_t, kBinWords> bin{};
  while (address != 0) {
    for (int32_t b = 0; b < h[hdr::kBinsPerBlock]; ++b) {
      EXPECT_EQ(f.ReadWords(address + b * kBinWords, bin), Status::kOk);
      BinEntry e;
      for (int32_t at = 0; DecodeBinEntry(bin, at, &e) == EntryScan::kEntry; at += e.Words())
        out.push_back(e);
    }
    address = bin[bin::kBlockLink];
  }
  return out;
}

struct Areas {
  InfoBlock info;
  std::vector<int32_t> ih, ch, uh, data;
};

Areas ReadAreas(Dss6File& f, int64_t info_address) {
  Areas a;
  EXPECT_EQ(f.ReadInfoAt(info_address, &a.info), Status::kOk);
  const auto read = [&f](int64_t at, int32_t n, std::vector<int32_t>* out) {
    out->assign(static_cast<size_t>(n), 0);
    EXPECT_EQ(f.ReadWords(at, *out), Status::kOk);
  };
  read(a.info.internal_header_address, a.info.internal_header_words, &a.ih);
  read(a.info.compression_header_address, a.info.compression_header_words, &a.ch);
  read(a.info.user_header_address, a.info.user_header_words, &a.uh);
  read(a.info.data_address, a.info.data_words, &a.data);
  return a;
}

RecordData6 DataOf(const Areas& a, const BinEntry& e) {
  RecordData6 d;
  d.type = a.info.type;
  d.internal_header = a.ih;
  d.compression_header = a.ch;
  d.user_header = a.uh;
  d.data = a.data;
  d.logical_count = a.info.logical_count;
  d.compression = a.info.compression;
  d.quality_flag = a.info.quality_flag;
  d.precision = a.info.precision;
  d.pseudo_interval = e.pseudo_interval;
  return d;
}

// Replays HEC's writes of fixture6.dss (each record in the order its info block was written,
// the delete, the rename) into a new file, which must then equal HEC's word for word, except
// the words holding write times and the pad bytes HEC leaves stale.
TEST(Dss6Write, ReplayingFixture6GivesHecsFileWordForWord) {
  VARNOCK_REQUIRE_FIXTURE(path, "fixture6.dss");
  const auto original = dss7::testing::LoadStorage(path);
  std::unique_ptr<Dss6File> ref;
  ASSERT_EQ(Dss6File::OpenIO(std::make_unique<dss7::MemoryFileIO>(original), &ref), Status::kOk);
  auto entries = AllEntries(*ref);
  ASSERT_EQ(entries.size(), 29u);  // 27 live, one deleted, one old name
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return a.info_address < b.info_address; });
  std::map<int32_t, std::string> renamed_by_data;  // data address -> old name
  for (const auto& e : entries) {
    if (entry_status::Base(e.status) == entry_status::kRenamed) {
      renamed_by_data[ReadAreas(*ref, e.info_address).info.data_address] = e.path;
    }
  }

  auto storage = dss7::MemoryFileIO::NewStorage();
  auto ours = Create(storage);
  ASSERT_NE(ours, nullptr);
  std::vector<std::pair<std::string, std::string>> renames;
  for (const auto& e : entries) {
    const Areas a = ReadAreas(*ref, e.info_address);
    const auto renamed = renamed_by_data.find(a.info.data_address);
    if (entry_status::IsLive(e.status) && renamed != renamed_by_data.end()) {
      renames.emplace_back(renamed->second, e.path);  // the rename's product: written below
      continue;
    }
    ASSERT_EQ(ours->WriteNewRecord(e.path, DataOf(a, e)), Status::kOk) << e.path;
    if (entry_status::Base(e.status) == entry_status::kDeleted) {
      ASSERT_EQ(ours->Delete(e.path), Status::kOk);
    }
  }
  ASSERT_EQ(renames.size(), 1u);
  ASSERT_EQ(ours->Rename(renames[0].first, renames[0].second), Status::kOk);

  const auto& hr = ref->header();
  const auto& ho = ours->header();
  for (int w = 0; w < hdr::kWords; ++w) {
    if (w >= hdr::kLastWriteTime && w < hdr::kLastWriteTime + 2) continue;
    EXPECT_EQ(ho[w], hr[w]) << "header word H" << (w + 1);
  }
  // Masks for the words of every info block that hold stale pad bytes or write times.
  std::map<int64_t, uint32_t> masks;
  masks[2161] = 0;  // HEC's stale end-of-file marker in the lock record
  for (const auto& e : AllEntries(*ref)) {
    const int64_t q = e.info_address + info::kPath + e.path_words;
    masks[q + info::kProgram + 1] = 0x0000ffff;
    masks[q + info::kDate + 1] = 0x00ffffff;
    masks[q + info::kTime] = 0;
    masks[q + info::kTime + 1] = 0;
  }
  const int64_t end = hr[hdr::kFileSize];
  std::vector<int32_t> a(static_cast<size_t>(end - 1)), b(static_cast<size_t>(end - 1));
  ASSERT_EQ(ref->ReadWords(1, a), Status::kOk);
  ASSERT_EQ(ours->ReadWords(1, b), Status::kOk);
  int differences = 0;
  for (int64_t w = hdr::kWords; w < end - 1 && differences < 10; ++w) {
    const auto it = masks.find(w + 1);
    const uint32_t mask = it == masks.end() ? 0xffffffffu : it->second;
    if ((static_cast<uint32_t>(a[w]) & mask) != (static_cast<uint32_t>(b[w]) & mask)) {
      ADD_FAILURE() << "word " << (w + 1) << ": ours " << b[w] << ", HEC's " << a[w];
      ++differences;
    }
  }
  EXPECT_EQ(storage->bytes.size(), original->bytes.size());
}

std::vector<int32_t> Text(std::string_view text) {
  std::vector<int32_t> w(static_cast<size_t>(PathWords(static_cast<int64_t>(text.size()))), 0);
  StoreChars(text, w, '\0');
  return w;
}

// A text record's data, as a writer supplies it.
struct TextRecord {
  std::vector<int32_t> header, data;
  RecordData6 Data() const {
    RecordData6 d;
    d.type = type::kText;
    d.internal_header = header;
    d.data = data;
    d.logical_count = static_cast<int32_t>(data.size());
    return d;
  }
};
TextRecord MakeText(std::string_view text) {
  return {{static_cast<int32_t>(text.size())}, Text(text)};
}

std::string ReadBack(Dss6File& f, std::string_view path) {
  container::RecordAreas r;
  if (f.ReadRecord(path, &r) != Status::kOk) return "<missing>";
  return LoadChars(r.areas[dss7::kValues1], static_cast<size_t>(r.areas[dss7::kInternalHeader][0]));
}

std::vector<std::string> Listed(Dss6File& f) {
  std::vector<container::CatalogItem> items;
  EXPECT_EQ(f.Catalog(&items), Status::kOk);
  std::vector<std::string> out;
  for (const auto& c : items)
    out.push_back(c.path);
  std::sort(out.begin(), out.end());
  return out;
}

std::string PathNumber(int i) {
  return "/TEST/LOC" + std::to_string(i) + "/FLOW///RUN/";
}

// A tiny table (8 hash codes, 4 bins per block) makes overflow bins and new bin blocks; every
// record stays findable and the catalog stays exact through each kind of write.
TEST(Dss6Write, OperationsKeepEveryRecordReachable) {
  auto storage = dss7::MemoryFileIO::NewStorage();
  auto f = Create(storage, 1);
  ASSERT_NE(f, nullptr);
  std::vector<std::string> live;
  for (int i = 0; i < 60; ++i) {
    const auto t = MakeText("record " + std::to_string(i));
    ASSERT_EQ(f->WriteNewRecord(PathNumber(i), t.Data()), Status::kOk) << i;
    live.push_back(PathNumber(i));
  }
  EXPECT_GT(f->header()[hdr::kOverflowBins], 0);
  EXPECT_GT(f->header()[hdr::kBinsUsed], 4);  // more than the first block
  const auto again = MakeText("again");
  EXPECT_EQ(f->WriteNewRecord("/test/loc7/flow///run/", again.Data()), Status::kExists);

  // Rewrites: shorter (in place) and longer (moved).
  const auto shorter = MakeText("r3");
  ASSERT_EQ(f->Rewrite(PathNumber(3), shorter.Data()), Status::kOk);
  const auto longer = MakeText(std::string(300, 'x'));
  ASSERT_EQ(f->Rewrite(PathNumber(4), longer.Data()), Status::kOk);
  EXPECT_EQ(f->Rewrite("/NOT/THERE/X///Y/", longer.Data()), Status::kNotFound);

  // Delete, undelete, delete again then write anew: the old copy can no longer come back.
  ASSERT_EQ(f->Delete(PathNumber(10)), Status::kOk);
  EXPECT_EQ(f->Delete(PathNumber(10)), Status::kNotFound);
  ASSERT_EQ(f->Undelete(PathNumber(10)), Status::kOk);
  EXPECT_EQ(f->Undelete(PathNumber(10)), Status::kExists);
  ASSERT_EQ(f->Delete(PathNumber(11)), Status::kOk);
  const auto fresh = MakeText("new eleven");
  ASSERT_EQ(f->WriteNewRecord(PathNumber(11), fresh.Data()), Status::kOk);
  ASSERT_EQ(f->Delete(PathNumber(11)), Status::kOk);
  EXPECT_EQ(f->Undelete(PathNumber(11)), Status::kOk);
  EXPECT_EQ(ReadBack(*f, PathNumber(11)), "new eleven");
  ASSERT_EQ(f->Delete(PathNumber(12)), Status::kOk);
  live.erase(std::find(live.begin(), live.end(), PathNumber(12)));

  // Rename to a new name, and onto an existing record (which is deleted).
  ASSERT_EQ(f->Rename(PathNumber(20), "/TEST/RENAMED/FLOW///RUN/"), Status::kOk);
  EXPECT_EQ(f->Rename(PathNumber(21), PathNumber(21)), Status::kInvalidArgument);
  ASSERT_EQ(f->Rename(PathNumber(22), PathNumber(23)), Status::kOk);
  live.erase(std::find(live.begin(), live.end(), PathNumber(20)));
  live.erase(std::find(live.begin(), live.end(), PathNumber(22)));
  live.push_back("/TEST/RENAMED/FLOW///RUN/");
  std::sort(live.begin(), live.end());

  const auto reopened = Reopen(storage);
  for (auto* file : {f.get(), reopened.get()}) {
    EXPECT_EQ(Listed(*file), live);
    EXPECT_EQ(file->header()[hdr::kRecordCount], static_cast<int32_t>(live.size()));
    EXPECT_EQ(ReadBack(*file, PathNumber(3)), "r3");
    EXPECT_EQ(ReadBack(*file, PathNumber(4)), std::string(300, 'x'));
    EXPECT_EQ(ReadBack(*file, PathNumber(10)), "record 10");
    EXPECT_EQ(ReadBack(*file, "/TEST/RENAMED/FLOW///RUN/"), "record 20");
    EXPECT_EQ(ReadBack(*file, PathNumber(23)), "record 22");
    EXPECT_EQ(ReadBack(*file, PathNumber(59)), "record 59");
    EXPECT_EQ(ReadBack(*file, PathNumber(12)), "<missing>");
  }
  // The file stays a whole number of physical records.
  EXPECT_EQ(storage->bytes.size() % kRecordBytes, 0u);
}

TEST(Dss6Write, ReadOnlyFilesRefuseWrites) {
  auto storage = dss7::MemoryFileIO::NewStorage();
  Create(storage);
  std::unique_ptr<Dss6File> f;
  ASSERT_EQ(Dss6File::OpenIO(std::make_unique<dss7::MemoryFileIO>(storage), &f), Status::kOk);
  const auto t = MakeText("x");
  EXPECT_EQ(f->WriteNewRecord("/A/B/C///D/", t.Data()), Status::kReadOnly);
  std::unique_ptr<Dss6File> again;
  EXPECT_EQ(
      Dss6File::CreateIO(std::make_unique<dss7::MemoryFileIO>(storage), 6, Writable(), &again),
      Status::kExists);
}

// HEC's confirmed sequence: write, delete, write, delete, write one path leaves two "replaced"
// entries that can no longer be undeleted, one live entry, and dead space 2 x (28 + P + 365).
TEST(Dss6Write, DeletedCopiesBecomeReplacedWhenThePathIsWrittenAgain) {
  auto storage = dss7::MemoryFileIO::NewStorage();
  auto f = Create(storage);
  const std::string path = "/A/B/C/01JAN2021/1DAY/F/";
  const std::vector<int32_t> header(24, 0);
  const std::vector<int32_t> data(365, 0);
  RecordData6 d;
  d.type = type::kRegularFloat;
  d.internal_header = header;
  d.data = data;
  d.logical_count = 365;
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(f->WriteNewRecord(path, d), Status::kOk);
    ASSERT_EQ(f->Delete(path), Status::kOk);
  }
  ASSERT_EQ(f->WriteNewRecord(path, d), Status::kOk);
  EXPECT_EQ(f->Undelete(path), Status::kExists);
  std::vector<int32_t> statuses;
  for (const auto& e : AllEntries(*f)) {
    statuses.push_back(e.status);
    InfoBlock info;
    ASSERT_EQ(f->ReadInfoAt(e.info_address, &info), Status::kOk);
    EXPECT_EQ(info.status, e.status);
  }
  EXPECT_EQ(statuses, (std::vector<int32_t>{4, 4, 1}));
  const int32_t p = PathWords(static_cast<int64_t>(path.size()));
  EXPECT_EQ(f->header()[hdr::kDeadSpace], 2 * (28 + p + 365));
  EXPECT_EQ(f->header()[hdr::kRecordCount], 1);
  EXPECT_EQ(f->Delete(path), Status::kOk);
  EXPECT_EQ(f->Undelete(path), Status::kOk);  // the last copy can still come back
}

// A file a dead writer left with H6 = -1357 opens read-only, as in HEC, and reads normally.
TEST(Dss6Write, FilesLeftLockedByADeadWriterOpenReadOnly) {
  VARNOCK_REQUIRE_FIXTURE(path, "fixture6.dss");
  auto storage = dss7::testing::LoadStorage(path);
  const int32_t mark = kCrashedFileSize;
  std::memcpy(storage->bytes.data() + ByteOffset(1 + hdr::kFileSize), &mark, 4);
  auto f = Reopen(storage);
  ASSERT_NE(f, nullptr);
  EXPECT_TRUE(f->read_only());
  std::vector<container::CatalogItem> items;
  ASSERT_EQ(f->Catalog(&items), Status::kOk);
  EXPECT_EQ(items.size(), 27u);
  EXPECT_EQ(f->Delete(items[0].path), Status::kReadOnly);
}

}  // namespace
}  // namespace varnock::engine::dss6
