#pragma once

#include "platform/printer.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace tavrel::test {

/// Keeps what the preview would show.
class FakeReportPrinter : public ReportPrinter {
public:
    /// One call. `rows` holds, for each row, the columns that the layout's fields name.
    struct Shown {
        PrintLayout layout;
        std::vector<std::map<std::string, std::string>> rows;
        DateTime today;
    };
    std::vector<Shown> shown;
    /// Runs while the preview stands on the screen.
    std::function<void()> onModal;

    void ShowModal(const PrintLayout& layout, ResultSet& rows, const DateTime& today) override {
        Shown& call = shown.emplace_back(Shown{layout, {}, today});
        for (; !rows.AtEnd(); rows.MoveNext()) {
            auto& row = call.rows.emplace_back();
            for (const auto& section : layout.sections)
                for (const auto& control : section.controls)
                    if (control.kind == PrintControl::Kind::Field)
                        row[control.text] = rows.Field(control.text).value_or("");
        }
        if (onModal)
            onModal();
    }
};

} // namespace tavrel::test
