// Pathname, the record interfaces, and DSSDatabase with its catalog and utilities.
#include "common.h"

namespace varnock::python {

namespace {

using Guard = py::call_guard<EngineCall>;

std::string Trimmed(const std::string& text) {
  return TrimBlanks(text);
}

}  // namespace

// A database whose last reference may go while another thread is inside the engine: its
// disconnect waits for the frame like every other engine call.
std::shared_ptr<DSSDatabase> NewDatabase() {
  // The deleter runs inside pybind11's deallocation of the Python object, which must finish
  // under the GIL: releasing it there lets another thread see a half-removed instance. Closing
  // the file only needs the frame's lock, and no holder of that lock waits for the GIL.
  return std::shared_ptr<DSSDatabase>(new DSSDatabase(), [](DSSDatabase* database) {
    std::lock_guard<std::mutex> lock(FrameMutex());
    delete database;
  });
}

std::shared_ptr<Object> ObjectFromPython(py::handle value) {
#define VARNOCK_TRY_OBJECT(T)   \
  if (py::isinstance<T>(value)) \
    return std::static_pointer_cast<Object>(value.cast<std::shared_ptr<T>>());
  VARNOCK_TRY_OBJECT(Pathname)
  VARNOCK_TRY_OBJECT(DSSDatabase)
  VARNOCK_TRY_OBJECT(RegularTimeSeries)
  VARNOCK_TRY_OBJECT(IrregTimeSeries)
  VARNOCK_TRY_OBJECT(PairedData)
  VARNOCK_TRY_OBJECT(GriddedData)
  VARNOCK_TRY_OBJECT(Dictionary)
  VARNOCK_TRY_OBJECT(Recordset)
  VARNOCK_TRY_OBJECT(Field)
#undef VARNOCK_TRY_OBJECT
  return nullptr;
}

void InitPathname(py::module_& m) {
  py::class_<Pathname, std::shared_ptr<Pathname>>(
      m, "Pathname", "A HEC-DSS record pathname of six parts, \"/A/B/C/D/E/F/\".")
      .def(py::init<>())
      .VARNOCK_PROPERTY(Pathname, Apart, "Part A of the pathname")
      .VARNOCK_PROPERTY(Pathname, Bpart, "Part B of the pathname")
      .VARNOCK_PROPERTY(Pathname, Cpart, "Part C of the pathname")
      .VARNOCK_PROPERTY(Pathname, Dpart, "Part D of the pathname")
      .VARNOCK_PROPERTY(Pathname, Epart, "Part E of the pathname")
      .VARNOCK_PROPERTY(Pathname, Fpart, "Part F of the pathname")
      .def_property(
          "Name", [](const Pathname& self) { return self.Name(); },
          [](Pathname& self, const std::string& value) {
            EngineCall guard;
            self.Name(value);
          },
          "Complete slash-delimited pathname (always 80 characters, blank-padded)")
      .def_property_readonly(
          "IsValid",
          [](const Pathname& self) {
            EngineCall guard;
            return self.IsValid();
          },
          "Uses ZCHKPN to validate pathname")
      .def_property_readonly("IsBlank", &Pathname::IsBlank, "True if each part is empty")
      .def("Clear", &Pathname::Clear, "Sets all parts to blank")
      .VARNOCK_PROPERTY(Pathname, Interval, "Time step in minutes")
      .def("Clone", &Pathname::Clone, "Returns a duplicate instance of this Pathname")
      .def("SetPartsFromString", &Pathname::SetPartsFromString, py::arg("Parts"), Guard(),
           "Sets parts using HECLIB subroutine ZGPNP")
      .def("__str__", [](const Pathname& self) { return Trimmed(self.Name()); })
      .def("__repr__",
           [](const Pathname& self) { return "<varnock.Pathname " + Trimmed(self.Name()) + ">"; })
      .def(py::pickle(
          [](const Pathname& self) {
            return py::make_tuple(self.Apart(), self.Bpart(), self.Cpart(), self.Dpart(),
                                  self.Epart(), self.Fpart());
          },
          [](const py::tuple& state) {
            if (state.size() != 6) throw py::value_error("a pathname state has six parts");
            std::string parts[6];
            for (size_t i = 0; i < 6; ++i)
              parts[i] = state[i].cast<std::string>();
            auto path = std::make_shared<Pathname>();
            path->SetStoredParts(parts);
            return path;
          }));
}

void InitInterfaces(py::module_& m) {
  py::class_<IDSSCatalog, std::shared_ptr<IDSSCatalog>>(
      m, "IDSSCatalog", "A listing of every record of a connected database.")
      .def("MakeNewCatalog", &IDSSCatalog::MakeNewCatalog, py::arg("DestFilename") = "", Guard())
      .def("AsRecordset", &IDSSCatalog::AsRecordset, py::arg("MakeNewCat") = false,
           py::arg("DestFilename") = "", Guard(),
           "One row per record: RecNum, Tag, A, B, C, D, E, F.")
      .def("AsCollection", &IDSSCatalog::AsCollection, py::arg("MakeNewCat") = false,
           py::arg("DestFilename") = "", Guard(), "One Pathname per record, in catalog order.")
      .def_property(
          "LongParts", [](const IDSSCatalog& self) { return self.LongParts(); },
          [](IDSSCatalog& self, bool value) { self.LongParts(value); },
          "Width of the part fields of AsRecordset: 80 when True, 32 when False");

  py::class_<IDSSUtilities, std::shared_ptr<IDSSUtilities>>(
      m, "IDSSUtilities", "Record utilities of a connected database.")
      .def("Rename", &IDSSUtilities::Rename, py::arg("FromPathname"), py::arg("ToPathname"),
           Guard())
      .def("Copy", &IDSSUtilities::Copy, py::arg("FromPathname"), py::arg("ToPathname"),
           py::arg("DestDB") = nullptr, Guard())
      .def("Delete", &IDSSUtilities::Delete, py::arg("Pathname"), Guard())
      .def("Undelete", &IDSSUtilities::Undelete, py::arg("Pathname"), Guard());

  py::class_<IDSSRecord, std::shared_ptr<IDSSRecord>>(
      m, "IDSSRecord", "Binds an object to one record of a DSS file reached through a DSSDatabase.")
      .def("Store", &IDSSRecord::Store, py::arg("pDB"), Guard())
      .def("Retrieve", &IDSSRecord::Retrieve, py::arg("pDB"), Guard())
      .def_property_readonly("Pathname", &IDSSRecord::Pathname,
                             "The record's pathname (the same object each time).")
      .VARNOCK_PROPERTY(IDSSRecord, Plan, "Store plan (DSSPlans)")
      .VARNOCK_PROPERTY(IDSSRecord, MissingIsError,
                        "Whether a retrieval with missing values raises")
      .def("RecordExists", &IDSSRecord::RecordExists, py::arg("pDB"), Guard())
      .def("RecordDataType", &IDSSRecord::RecordDataType, py::arg("pDB"), Guard());

  py::class_<IHTSLStream, std::shared_ptr<IHTSLStream>>(
      m, "IHTSLStream",
      "Exchange with an HTSL document: Domain, Location and ValueType alias parts A to C.")
      .VARNOCK_PROPERTY(IHTSLStream, Domain, "Part A of the pathname")
      .VARNOCK_PROPERTY(IHTSLStream, Location, "Part B of the pathname")
      .VARNOCK_PROPERTY(IHTSLStream, ValueType, "Part C of the pathname")
      .def(
          "FromDOM",
          [](IHTSLStream& self, py::object document) { self.FromDOM(ObjectFromPython(document)); },
          py::arg("pHTSL"))
      .def("ToDOM", [](IHTSLStream& self) { return ObjectToPython(self.ToDOM()); });

  py::class_<IRTSTransform, std::shared_ptr<IRTSTransform>>(
      m, "IRTSTransform", "Transforms of a regular series, and its summary statistics.")
      .def("ChangeInterval", &IRTSTransform::ChangeInterval, py::arg("NewInterval"))
      .def("RefreshStatistics", &IRTSTransform::RefreshStatistics)
      .def_property_readonly("MaxValue", &IRTSTransform::MaxValue,
                             "Largest value at the last RefreshStatistics")
      .def_property_readonly("MinValue", &IRTSTransform::MinValue,
                             "Smallest value at the last RefreshStatistics")
      .def_property_readonly("MeanValue", &IRTSTransform::MeanValue,
                             "Mean value at the last RefreshStatistics")
      .def_property_readonly("MissingCount", &IRTSTransform::MissingCount,
                             "Missing values at the last RefreshStatistics")
      .def("RunningMax", &IRTSTransform::RunningMax)
      .def("RunningMin", &IRTSTransform::RunningMin)
      .def("SetMaximumFrom", &IRTSTransform::SetMaximumFrom, py::arg("pRTS"))
      .def("SetAsPeakSince", &IRTSTransform::SetAsPeakSince)
      .def("Clone", &IRTSTransform::Clone);

  py::class_<ITimeSeriesDirect, std::shared_ptr<ITimeSeriesDirect>>(
      m, "ITimeSeriesDirect", "Direct output of a series and import into it.")
      .def(
          "FillArray",
          [](ITimeSeriesDirect& self, bool include_dates) {
            Variant array;
            self.FillArray(array, include_dates);
            return array;
          },
          py::arg("IncludeDates") = false,
          "The values (1 to n), or rows of date and value when IncludeDates, as lists.")
      .def("FromRecordset", &ITimeSeriesDirect::FromRecordset, py::arg("pRS"),
           py::arg("DateTimeField"), py::arg("DataField"));
}

void InitDatabase(py::module_& m) {
  py::class_<DSSDatabase, IDSSCatalog, IDSSUtilities, std::shared_ptr<DSSDatabase>>(
      m, "DSSDatabase", py::dynamic_attr(), "One connection to one HEC-DSS file.")
      .def(py::init(&NewDatabase))
      .VARNOCK_PROPERTY(DSSDatabase, istat, "The last HECLIB status of this connection")
      .VARNOCK_PROPERTY(DSSDatabase, Name, "Current HEC-DSS filename; Connect must follow a change")
      .def_property_readonly("Version", &DSSDatabase::Version, Guard(),
                             "DSS version of the file, e.g. \"7-JA\"")
      .def("PurgeMessageFile", &DSSDatabase::PurgeMessageFile, Guard())
      .def("Connect", &DSSDatabase::Connect, py::arg("CreateNew") = false, Guard(),
           "Attach to HEC-DSS database file")
      .def("Disconnect", &DSSDatabase::Disconnect, Guard(), "Closes connection to the HEC-DSS file")
      .def_property_readonly("IsConnected", &DSSDatabase::IsConnected,
                             "True/False is connected to the HEC-DSS database.")
      .def("SetSetting", &DSSDatabase::Setting, py::arg("Item"), py::arg("Value"), Guard(),
           "SET VARIABLES FOR DSS COMMON BLOCKS (the Setting property let)")
      .def("Setting", &DSSDatabase::Setting, py::arg("Item"), py::arg("Value"), Guard(),
           "The same as SetSetting: Setting has no get")
      .def("DictSettings", &DSSDatabase::DictSettings)
      .def("Inquire", &DSSDatabase::Inquire, py::arg("Item"), Guard(),
           "Inquire about settings in a DSS file or a record.")
      .def("DictInQuire", &DSSDatabase::DictInQuire,
           "Returns dictionary with ZInqir codes as keys and description as item.")
      .def("__repr__",
           [](const DSSDatabase& self) {
             return "<varnock.DSSDatabase " + self.Name() +
                    (self.IsConnected() ? " connected>" : " not connected>");
           })
      .def(py::pickle(
          [](py::object self) {
            auto& db = self.cast<DSSDatabase&>();
            py::object extra = py::hasattr(self, "__dict__") ? self.attr("__dict__") : py::dict();
            return py::make_tuple(db.Name(), db.IsConnected(), extra);
          },
          [](const py::tuple& state) {
            if (state.size() != 3) throw py::value_error("a DSSDatabase state has three items");
            auto db = NewDatabase();
            db->Name(state[0].cast<std::string>());
            if (state[1].cast<bool>()) {
              EngineCall guard;
              db->Connect(false);
            }
            return std::make_pair(db, state[2].cast<py::dict>());
          }));
}

}  // namespace varnock::python
