// A temporary folder for one test, removed with everything in it when the test ends.
#ifndef VARNOCK_TESTS_SUPPORT_TEMP_FOLDER_H_
#define VARNOCK_TESTS_SUPPORT_TEMP_FOLDER_H_

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <string>

namespace varnock::testing {

class TempFolder {
 public:
  TempFolder() {
    static std::atomic<int> counter{0};
    path_ = std::filesystem::temp_directory_path() /
            ("varnock_test_" + std::to_string(::getpid()) + "_" + std::to_string(counter++));
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string File(const std::string& name) const { return (path_ / name).string(); }
  // Copies a file into the folder and returns the copy's path.
  std::string CopyIn(const std::string& source, const std::string& name) const {
    std::filesystem::copy_file(source, path_ / name,
                               std::filesystem::copy_options::overwrite_existing);
    return File(name);
  }

 private:
  std::filesystem::path path_;
};

}  // namespace varnock::testing

#endif  // VARNOCK_TESTS_SUPPORT_TEMP_FOLDER_H_
