// The automation runtime types: Dictionary, Recordset and its Field.
#include "common.h"

namespace varnock::python {

void InitAutomation(py::module_& m) {
  py::class_<Dictionary, std::shared_ptr<Dictionary>>(
      m, "Dictionary", "The scripting runtime's dictionary: text keys in insertion order.")
      .def(py::init<>())
      .def_property_readonly("Count", &Dictionary::Count, "Number of keys")
      .def("Exists", &Dictionary::Exists, py::arg("Key"))
      .def("Add", &Dictionary::Add, py::arg("Key"), py::arg("Item"))
      .def("Item", py::overload_cast<const std::string&>(&Dictionary::Item, py::const_),
           py::arg("Key"))
      .def("SetItem", py::overload_cast<const std::string&, Variant>(&Dictionary::Item),
           py::arg("Key"), py::arg("Item"))
      .def("Remove", &Dictionary::Remove, py::arg("Key"))
      .def("RemoveAll", &Dictionary::RemoveAll)
      .def("Keys", &Dictionary::Keys, "The keys, in insertion order.")
      .def("Items", &Dictionary::Items, "The items, in insertion order.")
      .def("__len__", &Dictionary::Count)
      .def("__contains__", &Dictionary::Exists)
      .def("__getitem__",
           [](const Dictionary& self, const std::string& key) {
             if (!self.Exists(key)) throw py::key_error(key);
             return self.Item(key);
           })
      .def("__setitem__", py::overload_cast<const std::string&, Variant>(&Dictionary::Item))
      .def("__iter__", [](const Dictionary& self) { return py::iter(py::cast(self.Keys())); })
      .def(
          "to_dict",
          [](const Dictionary& self) {
            py::dict out;
            for (size_t i = 0; i < self.Keys().size(); ++i)
              out[py::str(self.Keys()[i])] = self.Items()[i];
            return out;
          },
          "The keys and items as a Python dict.")
      .def("__repr__",
           [](const Dictionary& self) {
             return "<varnock.Dictionary " +
                    py::cast<std::string>(py::repr(py::cast(self).attr("to_dict")())) + ">";
           })
      .def(py::pickle(
          [](const Dictionary& self) { return py::make_tuple(self.Keys(), self.Items()); },
          [](const py::tuple& state) {
            auto dict = std::make_shared<Dictionary>();
            auto keys = state[0].cast<std::vector<std::string>>();
            auto items = state[1].cast<std::vector<Variant>>();
            if (keys.size() != items.size())
              throw py::value_error("keys and items differ in count");
            for (size_t i = 0; i < keys.size(); ++i)
              dict->Add(keys[i], items[i]);
            return dict;
          }));

  py::class_<Field, std::shared_ptr<Field>>(m, "Field",
                                            "A field of a Recordset, seen at its current row.")
      .def_property_readonly("Name", &Field::Name, "Name of the field")
      .def_property_readonly("Type", &Field::Type, "Type of the field (DataTypeEnum)")
      .def_property_readonly("DefinedSize", &Field::DefinedSize, "Largest text length of the field")
      .def_property_readonly("Attributes", &Field::Attributes, "ADO attributes of the field")
      .def_property(
          "Value", [](const Field& self) { return self.Value(); },
          [](Field& self, const Variant& value) { self.Value(value); },
          "The value in the current row.")
      .def("__repr__", [](const Field& self) { return "<varnock.Field " + self.Name() + ">"; });

  py::class_<Recordset, std::shared_ptr<Recordset>>(
      m, "Recordset",
      "A small in-memory recordset in the manner of ADO: typed fields, rows, a cursor, a filter.")
      .def(py::init<>())
      .def("AppendField", &Recordset::AppendField, py::arg("Name"), py::arg("Type"),
           py::arg("DefinedSize") = 0, py::arg("Attrib") = -1)
      .def_property_readonly("FieldCount", &Recordset::FieldCount, "Number of fields")
      .def("Fields", py::overload_cast<int32_t>(&Recordset::Fields, py::const_), py::arg("Index"))
      .def("Fields", py::overload_cast<const std::string&>(&Recordset::Fields, py::const_),
           py::arg("Name"))
      .VARNOCK_PROPERTY(Recordset, CursorType, "Cursor type (CursorTypeEnum)")
      .VARNOCK_PROPERTY(Recordset, LockType, "Lock type (LockTypeEnum)")
      .def("Open", &Recordset::Open)
      .def_property_readonly("IsOpen", &Recordset::IsOpen, "Whether Open was called")
      .def("AddNew",
           py::overload_cast<const std::vector<std::string>&, const std::vector<Variant>&>(
               &Recordset::AddNew),
           py::arg("FieldList"), py::arg("Values"))
      .def("AddNew", py::overload_cast<>(&Recordset::AddNew))
      .def("Update", &Recordset::Update)
      .def_property_readonly("RecordCount", &Recordset::RecordCount,
                             "Number of rows the filter lets through")
      .def_property_readonly("EOF", &Recordset::IsEOF, "True after the last row")
      .def_property_readonly("BOF", &Recordset::IsBOF, "True before the first row")
      .def("MoveFirst", &Recordset::MoveFirst)
      .def("MoveLast", &Recordset::MoveLast)
      .def("MoveNext", &Recordset::MoveNext)
      .def("MovePrevious", &Recordset::MovePrevious)
      .def("Clone", &Recordset::Clone)
      .def_property(
          "Filter", [](const Recordset& self) { return self.Filter(); },
          [](Recordset& self, const std::string& criteria) { self.Filter(criteria); },
          "Filter in ADO syntax (\"Flow > 2 And [When] < #1/2/2020#\"); empty text removes it")
      .def_static(
          "FromCsvFile",
          [](const std::string& path, const std::string& delimiter,
             const std::vector<std::pair<std::string, DataTypeEnum>>& types) {
            if (delimiter.size() != 1) throw py::value_error("the delimiter must be one character");
            CsvOptions options;
            options.delimiter = delimiter[0];
            options.types = types;
            py::gil_scoped_release release;
            return Recordset::FromCsvFile(path, options);
          },
          py::arg("path"), py::arg("delimiter") = ",",
          py::arg("types") = std::vector<std::pair<std::string, DataTypeEnum>>{},
          "A recordset of a delimited text file whose first row names the fields.")
      .def_static(
          "FromSqlite",
          [](const std::string& database_path, const std::string& table_or_query) {
            py::gil_scoped_release release;
            return Recordset::FromSqlite(database_path, table_or_query);
          },
          py::arg("database_path"), py::arg("table_or_query"),
          "A recordset of an SQLite table or query.")
      .def(
          "rows",
          [](const Recordset& self) {
            const RecordTable& table = self.Table();
            py::list rows;
            for (const auto& row : table.rows)
              rows.append(py::cast(row));
            return rows;
          },
          "Every row of the table (ignoring the filter) as a list of values.")
      .def("field_names",
           [](const Recordset& self) {
             std::vector<std::string> names;
             for (const FieldDefinition& field : self.Table().fields)
               names.push_back(field.name);
             return names;
           })
      .def("__len__", &Recordset::RecordCount)
      .def("__repr__", [](const Recordset& self) {
        return "<varnock.Recordset " + std::to_string(self.FieldCount()) + " fields, " +
               std::to_string(self.RecordCount()) + " records>";
      });
}

}  // namespace varnock::python
