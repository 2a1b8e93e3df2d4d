// The picture at the head of the printed page.

#include "platform/error.h"
#include "platform/qt/PrintPages.h"
#include "tests/fuzz/Entry.h"

#include <QGuiApplication>

using namespace tavrel;

namespace {

class NoRows final : public ResultSet {
public:
    using ResultSet::Field;
    bool AtEnd() const override { return true; }
    bool AtBeginning() const override { return true; }
    void MoveNext() override {}
    bool HasField(std::string_view) const override { return true; }
    int FieldIndex(std::string_view) const override { return 0; }
    std::optional<std::string_view> Field(int) const override { return {}; }
    std::string Text(std::string_view) const override { return {}; }
    void AddNew() override {}
    void SetField(std::string_view, std::string_view) override {}
    void Update() override {}
    void Close() override {}
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static int nameOnly = 1;
    static char name[] = "logo";
    static char* arguments[] = {name, nullptr};
    static const QGuiApplication application(nameOnly, arguments);

    const test::MemoryFile file{bytes, size};
    PrintSection header;
    header.kind = PrintSection::Kind::PageHeader;
    header.height = 30;
    header.controls.push_back(
        {.name = "Logo", .kind = PrintControl::Kind::Image, .text = file.Path(), .width = 40, .height = 20});
    PrintLayout layout;
    layout.sections.push_back(header);
    NoRows rows;
    try {
        const PrintPages pages(layout, rows, {});
    } catch (const Error&) {
    }
    return 0;
}
