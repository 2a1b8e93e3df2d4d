#include "editor/PrintTable.h"

#include "host/ErrorReport.h"
#include "host/Text.h"

#include <string_view>

namespace tavrel {
namespace {

struct Column {
    std::string_view name;
    ParameterType type = ParameterType::VariableCharacter;
    int size = 255;
    bool date = false;
};

constexpr auto Text = ParameterType::VariableCharacter;

constexpr std::array<Column, std::tuple_size_v<PrintRow>> Columns = {{
    {"PatientName"},
    {"BirthDate", Text, 255, true},
    {"Age"},
    {"Sex"},
    {"PatientID"},
    {"StudyDate", Text, 255, true},
    {"StudyDescription"},
    {"StudyPhysician"},
    {"ReportHeading"},
    {"ReportTitle"},
    {"ReadingPhysician"},
    {"LastUpdated", Text, 255, true},
    {"ApprovingPhysician"},
    {"ApprovingDate", Text, 255, true},
    {"Reading", ParameterType::LongVariableCharacter, 1024},
}};

constexpr std::string_view UpdateStatement =
    " Update Report Set PatientName=?,  BirthDate=?, Age=?, Sex=?, "
    "                               PatientID=?, StudyDate=?, "
    "                               StudyDescription=?, StudyPhysician=?, "
    "                               ReportHeading=?, ReportTitle=?, "
    "                               ReadingPhysician=?, LastUpdated=?, "
    "                               ApprovingPhysician=?, ApprovingDate=?, Reading=? ";

/// A text that is a date in the table's form; any other text as it is.
std::string DateForTable(const std::string& text) {
    const auto date = ParseDate(text);
    return date ? DateText(*date) : text;
}

Parameter ParameterFor(const Column& column, const std::string& value) {
    return {std::string(column.name), column.type, column.size, column.date ? DateForTable(value) : value};
}

void Fill(Connection& catalogue, const PrintRow& row) {
    catalogue.BeginTransaction();
    const auto command = catalogue.NewCommand();
    command->Text("Delete from Report");
    command->Execute();

    command->Text("Insert Into Report (PatientName) Values (?)");
    command->Append(ParameterFor(Columns.front(), row.front()));
    command->Execute();
    command->Delete(0);

    command->Text(UpdateStatement);
    for (std::size_t i = 0; i < Columns.size(); ++i)
        command->Append(ParameterFor(Columns[i], row[i]));
    command->Execute();
    catalogue.Commit();
}

} // namespace

bool FillPrintTable(Global& global, const PrintRow& row) {
    return TrapNumbered(global.ports.windows, "Format Report : ", [&] { Fill(Catalogue(global), row); });
}

} // namespace tavrel
