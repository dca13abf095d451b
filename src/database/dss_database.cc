// DSSDatabase: connection, version, settings and inquiries.
#include <filesystem>

#include "database/errors.h"
#include "varnock/database.h"
#include "varnock/error.h"

namespace varnock {

namespace {

constexpr size_t kLongestHeclibName = 64;
constexpr int32_t kOpenedWord = 6;

std::string AlreadyOpenText(const std::string& name) {
  return "The HEC-DSS file " + name + " is already open.";
}

std::string VersionFailureText(int32_t status, const std::string& name) {
  switch (status) {
    case -1:
      return "The DSS file does not exist: " + name;
    case -2:
      return "Unable to access the DSS file: " + name;
    case -3:
      return "Not a DSS file: " + name;
    default:
      return "Unusual error. ISTAT is " + std::to_string(status);
  }
}

std::string ConnectFailureText(int32_t status, const std::string& name) {
  switch (status) {
    case -1:
      return "Unable to create the DSS file: " + name;
    case -2:
      return "Unable to connect to the DSS file: " + name;
    case -3:
      return "Can't open " + name + ": incompatible DSS versions.";
    case -10:
      return "No file name was provided.";
    default:
      if (status < 1) return "Unusual error. ISTAT is " + std::to_string(status);
      return "Fortran error code " + std::to_string(status);
  }
}

}  // namespace

DSSDatabase::DSSDatabase() {
  hecZset("PROG", "KRELM", 0);
  hecZset("MLEV", "", 1);
}

DSSDatabase::~DSSDatabase() {
  try {
    Disconnect();
  } catch (...) {
    // A destructor has nobody to report to; the engine never fails a close anyway.
  }
}

void DSSDatabase::Name(const std::string& value) {
  if (IsConnected()) throw database::Error(dssIsOpen, AlreadyOpenText(name_));
  name_ = value;
}

std::string DSSDatabase::Version() {
  if (IsConnected()) return hecZinqir(ifltab_, "VERSION");  // raises 5009, as it always has
  if (name_.size() > kLongestHeclibName)
    throw AutomationError(kObjectErrorBase + 6, "DSSDatabase", "Filename too long for HECLIB");
  int32_t version = 0;
  std::string text = hecZfver(name_, version);
  istat_ = version;
  if (istat_ < 0) throw database::Error(dssHeclibError, VersionFailureText(istat_, name_));
  return text;
}

void DSSDatabase::PurgeMessageFile() {
  PurgeMessages();
}

void DSSDatabase::Connect(bool CreateNew) {
  if (IsConnected()) {
    throw AutomationError(kObjectErrorBase + dssIsOpen, std::string(kProductName) + ".DSSDatabase",
                          AlreadyOpenText(name_));
  }
  std::error_code ignored;
  const std::filesystem::path absolute = std::filesystem::absolute(name_, ignored);
  const std::string path = absolute.string();
  if (std::filesystem::exists(absolute, ignored) || CreateNew) {
    istat_ = hecZopen(ifltab_, path);
  } else {
    istat_ = -2;
  }
  if (istat_ != 0) {
    if (ifltab_[0] == kOpenedWord) hecZclose(ifltab_);
    throw AutomationError(kObjectErrorBase + dssHeclibError, "DSSDatabase",
                          ConnectFailureText(istat_, path), kHelpFile,
                          database::kHeclibErrorHelpContext);
  }
}

void DSSDatabase::Disconnect() {
  if (IsConnected()) hecZclose(ifltab_);
}

void DSSDatabase::Setting(const std::string& Item, const Variant& Value) {
  if (Value.IsNumeric()) {
    hecZset(Item, "", Value.ToInteger());
  } else {
    hecZset(Item, Value.ToString(), 0);
  }
}

Variant DSSDatabase::Inquire(const std::string& Item) {
  RequireConnection();
  return Variant(hecZinqir(ifltab_, Item));
}

std::shared_ptr<Dictionary> DSSDatabase::DictSettings() const {
  auto dictionary = std::make_shared<Dictionary>();
  for (const KeywordDescription& entry : SettingKeywords())
    dictionary->Add(entry.keyword, Variant(entry.description));
  return dictionary;
}

std::shared_ptr<Dictionary> DSSDatabase::DictInQuire() const {
  auto dictionary = std::make_shared<Dictionary>();
  for (const KeywordDescription& entry : InquiryKeywords())
    dictionary->Add(entry.keyword, Variant(entry.description));
  return dictionary;
}

void DSSDatabase::RequireConnection() const {
  if (!IsConnected()) {
    throw AutomationError(kObjectErrorBase + dssNotOpen, "DSSDatabase", "No DSS file connected",
                          kHelpFile, database::kNotOpenHelpContext);
  }
}

}  // namespace varnock
