// DSSDatabase: one connection to one HEC-DSS file.
#ifndef VARNOCK_DATABASE_H_
#define VARNOCK_DATABASE_H_

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "varnock/dictionary.h"
#include "varnock/heclib.h"
#include "varnock/interfaces.h"
#include "varnock/paired_data.h"
#include "varnock/variant.h"

namespace varnock {

class VARNOCK_API DSSDatabase : public IDSSCatalog, public IDSSUtilities {
 public:
  DSSDatabase();
  ~DSSDatabase() override;
  DSSDatabase(const DSSDatabase&) = delete;
  DSSDatabase& operator=(const DSSDatabase&) = delete;

  // The last HECLIB status of this connection.
  int32_t istat() const { return istat_; }
  void istat(int32_t value) { istat_ = value; }

  // The file name as given. Setting it while connected raises 0x80042002; it does not open
  // the file: Connect must follow.
  const std::string& Name() const { return name_; }
  void Name(const std::string& value);
  // The DSS version of the (unconnected) file, e.g. "7-JA".
  std::string Version();
  void PurgeMessageFile();
  // Opens the file; a missing file is created only when CreateNew is true.
  void Connect(bool CreateNew = false);
  void Disconnect();
  bool IsConnected() const { return ifltab_[0] == 6; }

  // Sets a HECLIB option: numbers go as 16-bit integers, anything else as text.
  void Setting(const std::string& Item, const Variant& Value);
  std::shared_ptr<Dictionary> DictSettings() const;
  // Inquires a HECLIB option or a property of the open file; always text.
  Variant Inquire(const std::string& Item);
  std::shared_ptr<Dictionary> DictInQuire() const;

  // IDSSCatalog
  void MakeNewCatalog(const std::string& DestFilename = "") override;
  std::shared_ptr<Recordset> AsRecordset(bool MakeNewCat = false,
                                         const std::string& DestFilename = "") override;
  std::vector<std::shared_ptr<Pathname>> AsCollection(
      bool MakeNewCat = false, const std::string& DestFilename = "") override;
  bool LongParts() const override { return long_parts_; }
  void LongParts(bool value) override { long_parts_ = value; }

  // IDSSUtilities
  void Rename(const std::shared_ptr<Pathname>& FromPathname,
              const std::shared_ptr<Pathname>& ToPathname) override;
  void Copy(const std::shared_ptr<Pathname>& FromPathname,
            const std::shared_ptr<Pathname>& ToPathname,
            const std::shared_ptr<DSSDatabase>& DestDB = nullptr) override;
  void Delete(const std::shared_ptr<Pathname>& Pathname) override;
  void Undelete(const std::shared_ptr<Pathname>& Pathname) override;

  // Gateways for the record classes: whether a record exists, and HECLIB's type code of a
  // pathname (guessed from the pathname when the record is absent).
  bool RecordExistsGateway(const Pathname& pathname);
  std::string RecordTypeGateway(const Pathname& pathname);

  // Regular-series gateways. The read blanks the pathname's D part, reads values.size() - 1
  // values from the start texts into slots 1..n (slot 0 unused) and shrinks the array to the
  // count read; the write stores slots 1..N. Statuses above 10 raise 0x80042000.
  void ReadRegularGateway(varnock::Pathname& pathname, const std::string& date_text,
                          const std::string& time_text, std::vector<float>& values,
                          std::string& units, std::string& type, int32_t& offset);
  void WriteRegularGateway(varnock::Pathname& pathname, const std::string& date_text,
                           const std::string& time_text, const std::vector<float>& values,
                           int32_t plan, const std::string& units, const std::string& type);
  // Irregular-series gateways; arrays use slots 1..n as above.
  void ReadIrregularGateway(const varnock::Pathname& pathname, Date window_start, Date window_end,
                            std::vector<float>& values, std::vector<Date>& dates,
                            std::string& units, std::string& type);
  void WriteIrregularGateway(const varnock::Pathname& pathname, const std::vector<float>& values,
                             const std::vector<Date>& dates, int32_t merge,
                             const std::string& units, const std::string& type);

  // Paired-data gateways. The write leaves HECLIB's status in istat and raises nothing; the
  // read raises 0x80042000 for every non-zero status.
  void WritePairedGateway(const varnock::Pathname& pathname, const PairedData& data, int32_t plan);
  void ReadPairedGateway(const varnock::Pathname& pathname, PairedData& data);

  // The file table of this connection, for the record gateways.
  FileTable& FileTableForGateways() { return ifltab_; }
  // Raises 0x80042001 (source "DSSDatabase"), "No DSS file connected", when not connected.
  void RequireConnection() const;

 private:
  // A catalog record line split at slashes: number and tag, then parts A to F.
  using CatalogLinePieces = std::array<std::string_view, 7>;
  std::string CatalogFileName(const std::string& dest_filename) const;
  // Has HECLIB write the catalog into that file; false when the file cannot be opened.
  bool WriteCatalogFile(const std::string& catalog);
  // Reads the catalog (made first when asked or missing; in the temporary folder when it
  // cannot be written where it belongs) and hands each record line's pieces to on_line; first
  // tells on_count, when given, how many lines at most may follow.
  void ReadCatalog(bool make_new, const std::string& dest_filename,
                   const std::function<void(const CatalogLinePieces& pieces)>& on_line,
                   const std::function<void(size_t lines)>& on_count = nullptr);

  int32_t istat_ = 0;
  std::string name_;
  FileTable ifltab_{};
  bool long_parts_ = false;
};

}  // namespace varnock

#endif  // VARNOCK_DATABASE_H_
