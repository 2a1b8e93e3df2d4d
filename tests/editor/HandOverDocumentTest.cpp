#include "tests/editor/ReportingStation.h"
#include "tests/support/DocumentTable.h"

#include <gtest/gtest.h>

#include <array>
#include <sstream>

namespace tavrel::test {
namespace {

constexpr std::string_view NothingKept = "#NULL#";

struct DocumentedField {
    std::size_t number;
    std::string name;
    std::string kind;
};

std::vector<DocumentedField> DocumentedFields() {
    std::vector<DocumentedField> fields;
    for (const auto& row : TableUnder("## SR.dat", CATALOGUE_DOCUMENT))
        fields.push_back({std::stoul(row[0]), row[1], row[2]});
    return fields;
}

using Image = ImagePresentationContext;

struct ImageChange {
    std::string_view field;
    void (*make)(Image&);
};

/// What gives each field another text than it has in a neutral line.
constexpr std::array Changes{
    ImageChange{"Filename", [](Image& image) { image.Filename = "a.dcm"; }},
    ImageChange{"Zoom", [](Image& image) { image.ViewPars->zoom = 2; }},
    ImageChange{"FlipHorizontal", [](Image& image) { image.ViewPars->flipHorizontal = true; }},
    ImageChange{"FlipVertical", [](Image& image) { image.ViewPars->flipVertical = true; }},
    ImageChange{"LUTName", [](Image& image) { image.LUTName = "Bone"; }},
    ImageChange{"DisplayedArea, left", [](Image& image) { image.ViewPars->displayedArea.left = 2; }},
    ImageChange{"DisplayedArea, top", [](Image& image) { image.ViewPars->displayedArea.top = 2; }},
    ImageChange{"DisplayedArea, right", [](Image& image) { image.ViewPars->displayedArea.right = 2; }},
    ImageChange{"DisplayedArea, bottom", [](Image& image) { image.ViewPars->displayedArea.bottom = 2; }},
    ImageChange{"Inverted", [](Image& image) { image.ViewPars->inverted = true; }},
    ImageChange{"Smoothed", [](Image& image) { image.ViewPars->smoothed = true; }},
    ImageChange{"Frame", [](Image& image) { image.ViewPars->frame = 2; }},
    ImageChange{"Rotation", [](Image& image) { image.ViewPars->rotation = 2; }},
    ImageChange{"WindowCenter", [](Image& image) { image.ViewPars->windowCenter = 2; }},
    ImageChange{"WindowWidth", [](Image& image) { image.ViewPars->windowWidth = 2; }},
    ImageChange{"PanX", [](Image& image) { image.ViewPars->panX = 2; }},
    ImageChange{"PanY", [](Image& image) { image.ViewPars->panY = 2; }},
    ImageChange{"Gamma", [](Image& image) { image.ViewPars->gamma = 2; }},
    ImageChange{"Sharpness", [](Image& image) { image.ViewPars->sharpness = 2; }},
};

void Neutral(Image&) {}

auto ChangeOf(const std::string& field) {
    const auto found = std::ranges::find(Changes, field, &ImageChange::field);
    return found == Changes.end() ? Neutral : found->make;
}

class HandOverDocument : public testing::Test {
protected:
    HandOverDocument() { station.global.report->filePath = station.Path("F1.dcm"); }

    /// The fields of a line of "SR.dat" for one image, neutral but for `change`.
    Texts Written(void (*change)(Image&)) {
        Image image{{}, std::make_shared<ViewParameters>(), {}};
        change(image);
        station.global.report->pendingImages = std::make_shared<ImageList>(1, image);
        ImageHandOver(station.global).Write();
        const auto text = station.ReadFile("SR.dat");
        std::istringstream line(text.substr(0, text.find('\r')));
        Texts fields;
        for (std::string field; std::getline(line, field, ',');)
            fields.push_back(field);
        return fields;
    }

    /// What a load says about a line whose field `number` reads "?"; empty when it says nothing.
    std::string SaidOfDamaged(std::size_t number) {
        auto fields = Written(Neutral);
        fields.at(number - 1) = "?";
        std::string line;
        for (const auto& field : fields)
            line += (line.empty() ? "" : ",") + field;
        station.WriteFile("SR.dat", line + "\r\n");
        station.windows.messages.clear();
        ImageHandOver(station.global).Load(&station.automation);
        return station.windows.messages.empty() ? "" : station.windows.messages.front().text;
    }

    ReportingStation station;
};

TEST_F(HandOverDocument, NumbersEveryFieldOfALine) {
    const auto documented = DocumentedFields();
    ASSERT_EQ(documented.size(), Written(Neutral).size());
    for (std::size_t i = 0; i < documented.size(); ++i)
        EXPECT_EQ(documented[i].number, i + 1) << documented[i].name;
}

TEST_F(HandOverDocument, NamesTheFieldsInTheOrderOfTheFile) {
    const auto neutral = Written(Neutral);
    for (const auto& [number, name, kind] : DocumentedFields()) {
        const bool changed = Written(ChangeOf(name)).at(number - 1) != neutral.at(number - 1);
        EXPECT_EQ(changed, kind != NothingKept) << name;
    }
}

TEST_F(HandOverDocument, SaysWhichFieldKeepsNothing) {
    const auto written = Written(Neutral);
    for (const auto& [number, name, kind] : DocumentedFields())
        EXPECT_EQ(written.at(number - 1) == NothingKept, kind == NothingKept) << number;
}

TEST_F(HandOverDocument, SaysOfEachFieldWhatALoadAsksFor) {
    for (const auto& [number, name, kind] : DocumentedFields()) {
        const auto expected = "field " + std::to_string(number) + ": \"?\" where " + kind + " is expected";
        const auto said = SaidOfDamaged(number);
        EXPECT_TRUE(kind == NothingKept ? said.empty() : said.ends_with(expected)) << name << ": " << said;
    }
}

} // namespace
} // namespace tavrel::test
