#include "platform/attributes.h"
#include "platform/dcmtk/DicomValues.h"
#include "sr/PresentationState.h"
#include "tests/support/DocumentTable.h"
#include "tests/support/ElementDump.h"
#include "tests/support/ReadBytes.h"
#include "tests/support/SampleVersions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <set>
#include <sstream>

namespace tavrel::test {
namespace {

struct Item;

/// An element of a data set, as a dump shows it.
struct Element {
    std::string tag; ///< "(0008,0005)"
    std::string vr;
    std::string value; ///< without padding
    std::vector<Item> items;
};

struct Item {
    std::vector<Element> elements;

    const Element* Find(std::string_view tag) const {
        const auto found = std::ranges::find(elements, tag, &Element::tag);
        return found == elements.end() ? nullptr : &*found;
    }
    std::string Value(std::string_view tag) const {
        const Element* element = Find(tag);
        return element != nullptr ? element->value : "";
    }
    const std::vector<Item>& Items(std::string_view tag) const {
        static const std::vector<Item> none;
        const Element* sequence = Find(tag);
        return sequence != nullptr ? sequence->items : none;
    }
};

/// The dump's text: quoted, with escaped padding.
std::string ValueOf(std::string_view shown) {
    std::string value(shown.substr(1, shown.size() - 2));
    for (const std::string_view padding : {"\\x00", " "})
        if (value.ends_with(padding))
            value.resize(value.size() - padding.size());
    return value;
}

/// The lines from `next` on that stand at `indent`, with what stands deeper.
Item ParseItem(const std::vector<std::string>& lines, std::size_t& next, std::size_t indent) {
    Item item;
    while (next < lines.size() && lines[next].find_first_not_of(' ') == indent) {
        const std::string line = lines[next++].substr(indent);
        constexpr std::size_t vrAt = 12;
        Element element{line.substr(0, vrAt - 1), line.substr(vrAt, 2), "", {}};
        if (element.vr != "SQ")
            element.value = ValueOf(line.substr(vrAt + 3));
        while (next < lines.size() && lines[next] == std::string(indent + 2, ' ') + "item")
            element.items.push_back(ParseItem(lines, ++next, indent + 4));
        item.elements.push_back(std::move(element));
    }
    return item;
}

Item DataSetOf(const std::filesystem::path& file) {
    std::istringstream text(DumpElements(ReadBytes(file)));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    std::size_t next = 0;
    return ParseItem(lines, next, 0);
}

constexpr std::string_view ContentSequence = "(0040,A730)";

/// Where an element stands: its tag and those of the sequences around it. Content within content stands where all
/// content does.
using Path = std::vector<std::string>;

struct Use {
    std::string vr;
    int times = 0;
    std::set<std::string> values;
};

std::string Presence(bool always) {
    return always ? " always" : " at times";
}

class Uses {
public:
    void Add(const Item& item, const Path& holder) {
        ++holders_[holder];
        for (const Element& element : item.elements) {
            Path path = holder;
            if (element.tag != ContentSequence || path.empty() || path.back() != ContentSequence)
                path.push_back(element.tag);
            if (path != holder) {
                Use& use = uses_[path];
                use.vr = element.vr;
                use.values.insert(element.value);
                ++use.times;
            }
            for (const Item& inner : element.items)
                Add(inner, path);
        }
    }

    /// As the page has them.
    std::set<std::string> Lines(const std::map<Path, std::string>& fixedValues) const {
        std::set<std::string> lines;
        for (const auto& [path, use] : uses_) {
            const bool always = use.times == holders_.at({path.begin(), path.end() - 1});
            const auto fixed = fixedValues.find(path);
            const bool stands = fixed != fixedValues.end() && !fixed->second.empty();
            lines.insert(Line(path, use.vr, always) + (stands ? " " + testing::PrintToString(use.values) : ""));
        }
        return lines;
    }

    static std::string Line(const Path& path, const std::string& vr, bool always) {
        std::string line;
        for (const std::string& tag : path)
            line += tag;
        return line + " " + vr + Presence(always);
    }

private:
    std::map<Path, Use> uses_;
    std::map<Path, int> holders_; ///< how many items there are of each
};

Tag TagOf(const std::string& text) {
    Tag tag{};
    std::from_chars(&text[1], &text[5], tag.group, 16);
    std::from_chars(&text[6], &text[10], tag.element, 16);
    return tag;
}

/// A table of attributes of the page: name with a ">" for each sequence around it, tag, VR, presence, fixed value.
struct AttributeTable {
    explicit AttributeTable(const std::string& heading) {
        Path path;
        for (const auto& row : TableUnder(heading, CONFORMANCE_DOCUMENT)) {
            const auto depth = row[0].find_first_not_of('>');
            path.resize(depth);
            path.push_back(row[1]);
            EXPECT_EQ(row[0].substr(depth), AttributeWords(TagOf(row[1])));
            fixedValues[path] = row[4];
            lines.insert(Uses::Line(path, row[2], row[3] == "always") +
                         (row[4].empty() ? "" : " " + testing::PrintToString(std::set{row[4]})));
        }
    }

    std::set<std::string> lines;
    std::map<Path, std::string> fixedValues;
};

/// The concept of a content item: "(121073, DCM, "Impression")"; nothing of one that differs from report to report.
std::string ConceptOf(const Item& content) {
    const auto& concepts = content.Items("(0040,A043)");
    if (concepts.empty())
        return "";
    const Item& code = concepts.front();
    return "(" + code.Value("(0008,0100)") + ", " + code.Value("(0008,0102)") + ", \"" + code.Value("(0008,0104)") +
           "\")";
}

/// The content items below `holder`, one a line: "> CONTAINS TEXT (121073, DCM, "Impression")".
void AddContent(const Item& holder, const std::string& depth, std::set<std::string>& lines) {
    for (const Item& content : holder.Items(ContentSequence)) {
        lines.insert(depth + " " + content.Value("(0040,A010)") + " " + content.Value("(0040,A040)") + " " +
                     ConceptOf(content));
        AddContent(content, depth + ">", lines);
    }
}

/// In lines, so that a failure shows what differs.
std::string Joined(const std::set<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return text;
}

struct DocumentedForm {
    const char* name;
    ReportForm form;
    const char* attributes;
    const char* content;
    friend void PrintTo(const DocumentedForm& each, std::ostream* out) { *out << each.name; }
};

class Conformance : public testing::TestWithParam<DocumentedForm> {
protected:
    Conformance() {
        for (const SampleVersion& version : SampleReports(station, GetParam().form).InEveryState())
            dataSets.push_back(DataSetOf(version.file));
    }

    Workstation station;
    std::vector<Item> dataSets;
};

TEST_P(Conformance, NamesEachAttributeThatIsWrittenAndNoOther) {
    const AttributeTable page(GetParam().attributes);
    Uses uses;
    for (const Item& dataSet : dataSets)
        uses.Add(dataSet, {});
    EXPECT_EQ(Joined(uses.Lines(page.fixedValues)), Joined(page.lines));
}

TEST_P(Conformance, NamesEachContentItemThatIsWrittenAndNoOther) {
    std::set<std::string> page, written;
    for (const auto& row : TableUnder(GetParam().content, CONFORMANCE_DOCUMENT))
        page.insert(row[0] + " " + row[1] + " " + row[2] + " " + row[3] + Presence(row[4] == "always"));
    std::map<std::string, std::size_t> versions;
    for (const Item& dataSet : dataSets) {
        std::set<std::string> items;
        AddContent(dataSet, ">", items);
        for (const std::string& item : items)
            ++versions[item];
    }
    for (const auto& [item, count] : versions)
        written.insert(item + Presence(count == dataSets.size()));
    EXPECT_EQ(Joined(written), Joined(page));
}

/// Presentation states of images that tell little and much, and of views that change nothing and all.
class ConformanceOfPresentationStates : public testing::Test {
protected:
    DataSetHandle Image(std::initializer_list<std::pair<Attribute, const char*>> more) {
        auto image = station.dicom->NewDataSet();
        const std::initializer_list<std::pair<Attribute, const char*>> values = {
            {attribute::SopClassUid, "1.2.840.10008.5.1.4.1.1.2"},
            {attribute::SopInstanceUid, "1.2.3.1.1"},
            {attribute::StudyInstanceUid, "1.2.3"},
            {attribute::SeriesInstanceUid, "1.2.3.1"},
            {attribute::Rows, "400"},
            {attribute::Columns, "500"},
            {attribute::PhotometricInterpretation, "MONOCHROME2"}};
        for (const auto& list : {values, more})
            for (const auto& [attribute, value] : list)
                image->SetValue(attribute, 0, value);
        return image;
    }
    void Make(const DataSetHandle& image, const ViewParameters& view) {
        const auto state = MakePresentationState(*station.dicom, *image, {view, ""},
                                                 {"1.2.999.3.1", "1.2.999.4.1", "2", 1, "Rossi^Mario", {2026, 11, 15}});
        state->SaveToFile(station.Path("state.dcm"));
        uses.Add(DataSetOf(station.NativePath("state.dcm")), {});
    }

    Workstation station;
    Uses uses;
};

TEST_F(ConformanceOfPresentationStates, NamesEachAttributeThatIsWrittenAndNoOther) {
    const AttributeTable page("#### 9.1.1.5 Presentation states: attributes");
    Make(Image({}), {});
    Make(Image({{attribute::StudyDescription, "Chest"},
                {attribute::IssuerOfPatientId, "Orbenta"},
                {attribute::BodyPartExamined, "CHEST"},
                {attribute::NumberOfFrames, "3"},
                {attribute::PixelSpacing, R"(0.5\0.5)"},
                {attribute::RescaleSlope, "1"},
                {attribute::RescaleIntercept, "-1024"}}),
         {.displayedArea = {}, .windowCenter = 40, .windowWidth = 400, .gamma = 2.2F});
    const auto image = Image({});
    const auto table = station.dicom->NewDataSet();
    table->SetValue(attribute::LutDescriptor, 0, R"(2\0\16)");
    table->SetValue(attribute::LutData, 0, R"(0\65535)");
    image->SetSequenceItem(attribute::ModalityLutSequence, 0, table);
    Make(image, {});
    EXPECT_EQ(Joined(uses.Lines(page.fixedValues)), Joined(page.lines));
}

INSTANTIATE_TEST_SUITE_P(
    , Conformance,
    testing::Values(DocumentedForm{"Classic", ReportForm::Classic, "#### 9.1.1.1 Classic: attributes",
                                   "#### 9.1.1.2 Classic: content tree"},
                    DocumentedForm{"Interchange", ReportForm::Interchange, "#### 9.1.1.3 Interchange: attributes",
                                   "#### 9.1.1.4 Interchange: content tree"}),
    [](const auto& test) { return test.param.name; });

} // namespace
} // namespace tavrel::test
