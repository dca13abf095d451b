// Several processes on one file: creating it at the same moment, reading beside a writer, and
// a writer killed (SIGKILL) at random moments. Short budgets here; the environment variables
// VARNOCK_CREATE_TRIALS and VARNOCK_KILL_RUNS ask for longer runs.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "engine/dss7/integrity.h"
#include "engine/dss7/test_support.h"

namespace varnock::engine::dss7 {
namespace {

int EnvCount(const char* name, int fallback) {
  const char* v = std::getenv(name);
  return v != nullptr && std::atoi(v) > 0 ? std::atoi(v) : fallback;
}

// A record whose every value follows from its version, so a torn record cannot pass.
struct Versioned {
  std::vector<int32_t> header, values;
  RecordData data;
  explicit Versioned(int32_t version) : header{version, ~version} {
    values.resize(static_cast<size_t>(5 + version % 90));
    for (size_t i = 0; i < values.size(); ++i)
      values[i] = version * 3 + static_cast<int32_t>(i);
    data.type = 300;
    data.areas[kInternalHeader] = header;
    data.areas[kValues1] = values;
  }
};

// The version a record holds; -1 when absent; -2 when it reads but is not a whole version.
int32_t VersionOf(DssFile& file, const std::string& path) {
  Record r;
  const Status s = file.ReadRecord(path, &r);
  if (s == Status::kNotFound) return -1;
  if (s != Status::kOk || r.areas[kInternalHeader].size() != 2) return -2;
  const int32_t v = r.areas[kInternalHeader][0];
  const Versioned want(v);
  return r.areas[kInternalHeader] == want.header && r.areas[kValues1] == want.values ? v : -2;
}

void ExpectIntact(DssFile& file, const std::string& where) {
  IntegrityReport report;
  ASSERT_EQ(CheckIntegrity(file, &report), Status::kOk) << where;
  EXPECT_TRUE(report.ok()) << where << ": " << report.Summary();
}

class Dss7Processes : public ::testing::Test {
 protected:
  std::string dir_ = testing::TempDir() + "/processes";
  void SetUp() override { std::filesystem::create_directories(dir_); }
  void TearDown() override { std::filesystem::remove_all(dir_); }
};

TEST_F(Dss7Processes, ProcessesCreatingOneFileAtOnceLoseNothing) {
  constexpr int kWriters = 3;
  constexpr int kRecordsEach = 4;
  const int trials = EnvCount("VARNOCK_CREATE_TRIALS", 25);
  for (int trial = 0; trial < trials; ++trial) {
    const std::string path = dir_ + "/race" + std::to_string(trial) + ".dss";
    int go[2];
    ASSERT_EQ(::pipe(go), 0);
    std::vector<pid_t> children;
    for (int w = 0; w < kWriters; ++w) {
      const pid_t pid = ::fork();
      ASSERT_GE(pid, 0);
      if (pid == 0) {
        char c;
        ::close(go[1]);
        (void)!::read(go[0], &c, 1);  // all start together
        std::unique_ptr<DssFile> file;
        bool created = false;
        int failures = DssFile::OpenOrCreate(path, {}, {}, &file, &created) == Status::kOk ? 0 : 1;
        for (int r = 0; r < kRecordsEach && failures == 0; ++r) {
          Versioned v(w * 100 + r);
          const std::string p = "/RACE/W" + std::to_string(w) + "/R" + std::to_string(r) + "///X/";
          failures += file->Store(p, v.data) != Status::kOk;
        }
        if (file) failures += file->Close() != Status::kOk;
        ::_exit(failures);
      }
      children.push_back(pid);
    }
    ::close(go[0]);
    ::close(go[1]);  // releases every child at once
    for (const pid_t pid : children) {
      int status = 0;
      ASSERT_EQ(::waitpid(pid, &status, 0), pid);
      EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "trial " << trial;
    }
    std::unique_ptr<DssFile> file;
    ASSERT_EQ(DssFile::Open(path, {}, &file), Status::kOk) << "trial " << trial;
    for (int w = 0; w < kWriters; ++w) {
      for (int r = 0; r < kRecordsEach; ++r) {
        const std::string p = "/RACE/W" + std::to_string(w) + "/R" + std::to_string(r) + "///X/";
        EXPECT_EQ(VersionOf(*file, p), w * 100 + r) << "trial " << trial << " " << p;
      }
    }
    std::vector<CatalogEntry> listed;
    ASSERT_EQ(file->Catalog(&listed), Status::kOk);
    EXPECT_EQ(listed.size(), static_cast<size_t>(kWriters * kRecordsEach)) << "trial " << trial;
    ExpectIntact(*file, "trial " + std::to_string(trial));
    if (HasFailure()) return;
  }
  std::printf("[ figures  ] %d concurrent-create trials of %d processes\n", trials, kWriters);
}

TEST_F(Dss7Processes, AReaderBesideAWriterSeesWholeRecords) {
  const std::string path = dir_ + "/shared.dss";
  constexpr int kPaths = 8;
  auto name = [](int i) { return "/SHARED/P" + std::to_string(i) + "/X///Y/"; };
  {
    std::unique_ptr<DssFile> file;
    ASSERT_EQ(DssFile::Create(path, {}, {}, &file), Status::kOk);
    for (int i = 0; i < kPaths; ++i)
      ASSERT_EQ(file->Store(name(i), Versioned(i).data), Status::kOk);
  }
  const pid_t writer = ::fork();
  ASSERT_GE(writer, 0);
  if (writer == 0) {
    std::unique_ptr<DssFile> file;
    if (DssFile::Open(path, {}, &file) != Status::kOk) ::_exit(1);
    // Rewrites that shrink and grow, and new records that need new bins.
    for (int n = 0; n < 600; ++n) {
      if (file->Store(name(n % kPaths), Versioned(1000 + n).data) != Status::kOk) ::_exit(2);
      if (n % 10 == 0 && file->Store("/SHARED/NEW" + std::to_string(n) + "/X///Y/",
                                     Versioned(n).data) != Status::kOk) {
        ::_exit(3);
      }
    }
    ::_exit(file->Close() == Status::kOk ? 0 : 4);
  }
  std::unique_ptr<DssFile> reader;
  FileOptions read_only;
  read_only.read_only = true;
  ASSERT_EQ(DssFile::Open(path, read_only, &reader), Status::kOk);
  int64_t reads = 0;
  int status = 0;
  while (::waitpid(writer, &status, WNOHANG) == 0) {
    std::vector<CatalogEntry> listed;
    ASSERT_EQ(reader->Catalog(&listed), Status::kOk);
    for (const auto& c : listed) {
      const int32_t v = VersionOf(*reader, c.path);
      ++reads;
      ASSERT_GE(v, 0) << c.path << " listed but reads " << v;
    }
  }
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  ExpectIntact(*reader, "after the writer");
  std::printf("[ figures  ] %lld record reads beside a writer\n", static_cast<long long>(reads));
}

// The model of what the file must hold: each path's committed version (-1: absent), and for
// deleted paths the version an undelete brings back.
struct Model {
  std::map<std::string, int32_t> live;
  std::map<std::string, int32_t> deleted;
  int32_t Of(const std::string& p) const {
    const auto it = live.find(p);
    return it == live.end() ? -1 : it->second;
  }
  // Applies one operation line: "S path v", "D path", "U path v" (the version it brought
  // back), "R from to" (over an existing record, which is deleted).
  void Apply(const std::string& line) {
    std::istringstream in(line);
    std::string op, a, b;
    in >> op >> a >> b;
    if (op == "S") {
      live[a] = std::stoi(b);
    } else if (op == "D" && Of(a) >= 0) {
      deleted[a] = live[a];
      live.erase(a);
    } else if (op == "U" && Of(a) < 0) {
      live[a] = std::stoi(b);
    } else if (op == "R" && Of(a) >= 0 && a != b) {
      if (Of(b) >= 0) deleted[b] = live[b];
      live[b] = live[a];
      live.erase(a);
    }
  }
};

// Child: random operations on a few paths, each announced ("B <op>") before it starts and
// confirmed ("E") once it returned kOk, until it is killed.
[[noreturn]] void KillableWriter(const std::string& path, int report_fd, uint32_t seed,
                                 int32_t first_version) {
  std::unique_ptr<DssFile> file;
  if (DssFile::Open(path, {}, &file) != Status::kOk) ::_exit(1);
  std::mt19937 rng(seed);
  int32_t version = first_version;
  auto say = [&](const std::string& s) {
    if (::write(report_fd, s.data(), s.size()) != static_cast<ssize_t>(s.size())) ::_exit(2);
  };
  for (;;) {
    const std::string a = "/KILL/P" + std::to_string(rng() % 10) + "/X///Y/";
    const std::string b = "/KILL/P" + std::to_string(rng() % 10) + "/X///Y/";
    const uint32_t r = rng() % 10;
    std::string line;
    Status s;
    if (r < 6) {
      ++version;
      line = "S " + a + " " + std::to_string(version);
      say("B " + line + "\n");
      s = file->Store(a, Versioned(version).data);
    } else if (r < 8) {
      line = "D " + a;
      say("B " + line + "\n");
      s = file->Delete(a);
    } else if (r < 9) {
      line = "U " + a;
      say("B " + line + "\n");
      s = file->Undelete(a);
    } else {
      line = "R " + a + " " + b;
      say("B " + line + "\n");
      s = file->Rename(a, b);
    }
    if (s == Status::kOk && r >= 8 && r < 9) {
      // Which version came back depends on the deleted entries the file keeps.
      Record rec;
      if (file->ReadRecord(a, &rec) != Status::kOk) ::_exit(3);
      say("E " + std::to_string(rec.areas[kInternalHeader][0]) + "\n");
    } else {
      say(s == Status::kOk ? "E\n" : "F\n");
    }
  }
}

TEST_F(Dss7Processes, AWriterKilledAtRandomMomentsLosesNothing) {
  const std::string path = dir_ + "/killed.dss";
  {
    std::unique_ptr<DssFile> file;
    ASSERT_EQ(DssFile::Create(path, {}, {}, &file), Status::kOk);
  }
  const int runs = EnvCount("VARNOCK_KILL_RUNS", 40);
  std::mt19937 rng(12345);
  Model model;
  int64_t operations = 0, in_flight = 0;
  for (int run = 0; run < runs; ++run) {
    int pipe_fds[2];
    ASSERT_EQ(::pipe(pipe_fds), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      ::close(pipe_fds[0]);
      KillableWriter(path, pipe_fds[1], rng(), run * 100000);
    }
    ::close(pipe_fds[1]);
    ::usleep(static_cast<useconds_t>(1000 + rng() % 30000));
    ::kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the writer stopped by itself: " << status;
    // Everything it announced, in order.
    std::string text;
    char buf[4096];
    for (ssize_t n; (n = ::read(pipe_fds[0], buf, sizeof buf)) > 0;)
      text.append(buf, static_cast<size_t>(n));
    ::close(pipe_fds[0]);
    std::istringstream lines(text);
    std::string line, pending;
    while (std::getline(lines, line)) {
      if (line.rfind("B ", 0) == 0) {
        pending = line.substr(2);
      } else if (line.rfind("E", 0) == 0) {
        model.Apply(pending + line.substr(1));
        pending.clear();
        ++operations;
      } else {
        pending.clear();
      }
    }
    // The operation cut short may have happened or not; each record must be whole.
    Model after = model;
    std::string undeleting;  // an undelete cut short may bring back any deleted version
    if (!pending.empty()) {
      ++in_flight;
      if (pending[0] == 'U') {
        undeleting = pending.substr(2);
      } else {
        after.Apply(pending);
      }
    }
    std::unique_ptr<DssFile> file;
    const std::string where = "run " + std::to_string(run) + " (cut: " + pending + ")";
    ASSERT_EQ(DssFile::Open(path, {}, &file), Status::kOk) << where;
    ExpectIntact(*file, where);
    bool all_after = true;
    for (int i = 0; i < 10; ++i) {
      const std::string p = "/KILL/P" + std::to_string(i) + "/X///Y/";
      const int32_t v = VersionOf(*file, p);
      ASSERT_NE(v, -2) << where << ": " << p << " is torn";
      if (p == undeleting) {
        if (v >= 0) after.live[p] = v;
        continue;
      }
      EXPECT_TRUE(v == model.Of(p) || v == after.Of(p))
          << where << ": " << p << " holds " << v << ", committed " << model.Of(p);
      all_after = all_after && v == after.Of(p);
    }
    if (all_after) model = after;
    if (HasFailure()) return;
  }
  std::printf("[ figures  ] %d kill -9 runs, %lld operations committed, %lld cut short\n", runs,
              static_cast<long long>(operations), static_cast<long long>(in_flight));
}

}  // namespace
}  // namespace varnock::engine::dss7
