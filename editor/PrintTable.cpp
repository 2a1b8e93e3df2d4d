#include "editor/PrintTable.h"

#include "host/ErrorReport.h"
#include "host/Text.h"
#include "platform/text.h"

#include <string_view>

namespace tavrel {
namespace {

struct Column {
    std::string_view name;
    ParameterType type = ParameterType::VariableCharacter;
    int size = 255;
};

constexpr std::array<Column, std::tuple_size_v<PrintRow>> Columns = {{
    {"PatientName"},
    {"BirthDate"},
    {"Age"},
    {"Sex"},
    {"PatientID"},
    {"StudyDate"},
    {"StudyDescription"},
    {"StudyPhysician"},
    {"ReportHeading"},
    {"ReportTitle"},
    {"ReadingPhysician"},
    {"LastUpdated"},
    {"ApprovingPhysician"},
    {"ApprovingDate"},
    {"Reading", ParameterType::LongVariableCharacter, LongestPrintedReading},
}};

constexpr std::string_view UpdateStatement =
    " Update Report Set PatientName=?,  BirthDate=?, Age=?, Sex=?, "
    "                               PatientID=?, StudyDate=?, "
    "                               StudyDescription=?, StudyPhysician=?, "
    "                               ReportHeading=?, ReportTitle=?, "
    "                               ReadingPhysician=?, LastUpdated=?, "
    "                               ApprovingPhysician=?, ApprovingDate=?, Reading=? ";

Parameter ParameterFor(const Column& column, const std::string& value) {
    return {std::string(column.name), column.type, column.size, value};
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

std::string PrintedDate(const std::string& text) {
    const auto date = ParseDate(text);
    return date ? DateText(*date) : text;
}

bool FillPrintTable(Global& global, const PrintRow& row) {
    return TrapNumbered(global.ports.windows, "Format Report : ", [&] { Fill(Catalogue(global), row); });
}

void EmptyPrintTable(Global& global, const PrintRow& row) {
    const auto command = Catalogue(global).NewCommand();
    command->Text("Delete from Report Where PatientName=? And PatientID=?");
    for (const std::size_t column : {printed::PatientName, printed::PatientId})
        command->Append(ParameterFor(Columns[column], row[column]));
    command->Execute();
}

void RequirePrintRow(const ResultSet& rows, const PrintRow& row) {
    bool same = !rows.AtEnd();
    // Trailing blanks are no data in a fixed-width column.
    for (std::size_t i = 0; same && i < row.size(); ++i)
        same = TrimmedRight(rows.Field(Columns[i].name).value_or("")) == TrimmedRight(row[i]);
    if (!same)
        throw Error(Fault::PrintedElsewhere, "PrintReport",
                    "Another workstation is printing at this moment. Please print again.");
}

} // namespace tavrel
