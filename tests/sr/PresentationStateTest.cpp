#include "sr/PresentationState.h"

#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/dcmtk/DcmtkLibrary.h"
#include "tests/support/Failure.h"

#include <gtest/gtest.h>

#include <limits>

namespace tavrel::test {
namespace {

using attribute::SopInstanceUid;

class PresentationStates : public testing::Test {
protected:
    PresentationStates() {
        const std::initializer_list<std::pair<Attribute, const char*>> values = {
            {attribute::SopClassUid, "1.2.840.10008.5.1.4.1.1.2"},
            {SopInstanceUid, "1.2.3.1.1"},
            {attribute::StudyInstanceUid, "1.2.3"},
            {attribute::SeriesInstanceUid, "1.2.3.1"},
            {attribute::PatientId, "P1"},
            {attribute::Rows, "400"},
            {attribute::Columns, "500"},
            {attribute::PhotometricInterpretation, "MONOCHROME2"},
        };
        for (const auto& [attribute, value] : values)
            image->SetValue(attribute, 0, value);
    }

    DataSetHandle Make(const Presentation& presentation) {
        return MakePresentationState(library, *image, presentation, {"1.2.999.3.1", "1.2.999.4.1", "2", 1, "", {}});
    }
    DataSetHandle Make(const ViewParameters& view) { return Make(Presentation{view, {}}); }
    Presentation BackAgain(const Presentation& presentation) {
        return ReadPresentationState(*Make(presentation), *image, presentation.view.frame);
    }
    ViewParameters BackAgain(const ViewParameters& view) { return BackAgain({view, {}}).view; }
    static std::string Text(const DataSetHandle& dataSet, const Attribute& attribute) {
        return TextOf(*dataSet, attribute);
    }
    static DataSetHandle AreaOf(const DataSetHandle& state) {
        return state->GetSequenceItem(attribute::DisplayedAreaSelectionSequence, 0);
    }

    DcmtkLibrary library;
    DataSetHandle image = library.NewDataSet();
};

TEST_F(PresentationStates, AViewWithoutAnAreaShowsTheWholeImage) {
    const auto area = AreaOf(Make(ViewParameters{}));
    EXPECT_EQ(TextOf(area->GetValue(attribute::DisplayedAreaTopLeft, 1)), "1");
    EXPECT_EQ(TextOf(area->GetValue(attribute::DisplayedAreaBottomRight, 0)), "500");
    EXPECT_EQ(TextOf(area->GetValue(attribute::DisplayedAreaBottomRight, 1)), "400");
}

TEST_F(PresentationStates, AreaWindowAndGammaComeBackAsTheyWere) {
    const ViewParameters view{.displayedArea = {10, 20, 300, 200},
                              .smoothed = true,
                              .rotation = 90,
                              .windowCenter = 40.25F,
                              .windowWidth = 400.5F,
                              .gamma = 2.2F};
    EXPECT_EQ(BackAgain(view), view);
}

TEST_F(PresentationStates, AFlipUpsideDownComesBackAsOneToTheSideAndHalfATurn) {
    const auto back = BackAgain(ViewParameters{.flipVertical = true, .displayedArea = {}});
    EXPECT_TRUE(back.flipHorizontal);
    EXPECT_FALSE(back.flipVertical);
    EXPECT_EQ(back.rotation, 180);
}

TEST_F(PresentationStates, ARotationIsTheNearestQuarterTurn) {
    EXPECT_EQ(BackAgain(ViewParameters{.displayedArea = {}, .rotation = 100}).rotation, 90);
    EXPECT_EQ(BackAgain(ViewParameters{.displayedArea = {}, .rotation = -100}).rotation, 270);
    EXPECT_EQ(BackAgain(ViewParameters{.displayedArea = {}, .rotation = 350}).rotation, 0);
    EXPECT_EQ(BackAgain(ViewParameters{.displayedArea = {}, .rotation = std::numeric_limits<int>::min()}).rotation,
              270); // 232 degrees
}

TEST_F(PresentationStates, TheLookUpTableIsKeptByItsName) {
    EXPECT_EQ(BackAgain(Presentation{{}, "Knochen, größer"}).lutName, "Knochen, größer");
}

TEST_F(PresentationStates, ANameThatNoDescriptionCanHoldIsLeftOut) {
    for (const std::string& name : {std::string(R"(C:\luts\bone)"), std::string(64, 'x'), std::string("a\nb")})
        EXPECT_EQ(BackAgain(Presentation{{}, name}).lutName, "") << name;
}

TEST_F(PresentationStates, AWindowThatTheViewDoesNotSayIsTheImagesOwn) {
    image->SetValue(attribute::WindowCenter, 0, R"(50\60)");
    image->SetValue(attribute::WindowWidth, 0, R"(350\100)");
    const auto back = BackAgain(ViewParameters{});
    EXPECT_EQ(back.windowCenter, 50);
    EXPECT_EQ(back.windowWidth, 350);
}

TEST_F(PresentationStates, WithoutAnyWindowTheValuesAreShownInTheirWholeRange) {
    EXPECT_EQ(Make(ViewParameters{})->GetSequenceItemCount(attribute::SoftcopyVoiLutSequence), 0);
}

TEST_F(PresentationStates, NumbersThatAreNoneChangeNothing) {
    constexpr float none = std::numeric_limits<float>::quiet_NaN();
    const auto state =
        Make(ViewParameters{.displayedArea = {}, .windowCenter = none, .windowWidth = none, .gamma = none});
    EXPECT_EQ(state->GetSequenceItemCount(attribute::SoftcopyVoiLutSequence), 0);
    EXPECT_EQ(Text(state, attribute::PresentationLutShape), "IDENTITY");
}

TEST_F(PresentationStates, AnImageWhoseLowestValueIsWhiteIsShownInverse) {
    image->SetValue(attribute::PhotometricInterpretation, 0, "MONOCHROME1");
    EXPECT_EQ(Text(Make(ViewParameters{}), attribute::PresentationLutShape), "INVERSE");
    EXPECT_FALSE(BackAgain(ViewParameters{}).inverted);
}

TEST_F(PresentationStates, TheImagesOwnTableOfValuesGoesAlong) {
    const auto table = library.NewDataSet();
    table->SetValue(attribute::LutDescriptor, 0, R"(2\0\16)");
    image->SetSequenceItem(attribute::ModalityLutSequence, 0, table);
    EXPECT_EQ(Make(ViewParameters{})->GetSequenceItemCount(attribute::ModalityLutSequence), 1);
    EXPECT_EQ(image->GetSequenceItemCount(attribute::ModalityLutSequence), 1);
}

TEST_F(PresentationStates, BeamIntensitiesOfAngiographyAreNotRescaled) {
    image->SetValue(attribute::SopClassUid, 0, "1.2.840.10008.5.1.4.1.1.12.1");
    image->SetValue(attribute::PixelIntensityRelationship, 0, "LOG");
    image->SetValue(attribute::RescaleSlope, 0, "2");
    image->SetValue(attribute::RescaleIntercept, 0, "-1");
    EXPECT_EQ(Text(Make(ViewParameters{}), attribute::RescaleSlope), "");
}

TEST_F(PresentationStates, PixelsHaveTheSizeThatTheImageTells) {
    image->SetValue(attribute::ImagerPixelSpacing, 0, R"(0.5\0.25)");
    EXPECT_EQ(TextOf(AreaOf(Make(ViewParameters{}))->GetValue(attribute::PresentationPixelSpacing, 1)), "0.25");
    image->SetValue(attribute::ImagerPixelSpacing, 0, R"(0\0)");
    image->SetValue(attribute::PixelAspectRatio, 0, R"(4\3)");
    EXPECT_EQ(TextOf(AreaOf(Make(ViewParameters{}))->GetValue(attribute::PresentationPixelAspectRatio, 0)), "4");
}

TEST_F(PresentationStates, TheSideOfTheBodyIsTakenFromTheImage) {
    image->SetValue(attribute::BodyPartExamined, 0, "KNEE");
    image->SetValue(attribute::ImageLaterality, 0, "L");
    EXPECT_EQ(Text(Make(ViewParameters{}), attribute::Laterality), "L");
}

TEST_F(PresentationStates, AFrameOfSeveralIsNamedByItsNumber) {
    const auto frameNamed = [&](const DataSetHandle& state) {
        const auto series = state->GetSequenceItem(attribute::ReferencedSeriesSequence, 0);
        return Text(series->GetSequenceItem(attribute::ReferencedImageSequence, 0), attribute::ReferencedFrameNumber);
    };
    EXPECT_EQ(frameNamed(Make(ViewParameters{})), "");
    image->SetValue(attribute::NumberOfFrames, 0, "5");
    EXPECT_EQ(frameNamed(Make(ViewParameters{.displayedArea = {}, .frame = 2})), "3");
}

TEST_F(PresentationStates, OneOfAnotherImageIsRefused) {
    const auto state = Make(ViewParameters{});
    image->SetValue(SopInstanceUid, 0, "1.2.3.1.2");
    EXPECT_EQ(FailureOf([&] { ReadPresentationState(*state, *image, 0); }),
              "The presentation state is of another image");
}

/// As another maker writes them: several images in one state, each with its own area.
TEST_F(PresentationStates, OfSeveralAreasTheImagesOwnIsRead) {
    const auto state = Make(ViewParameters{.displayedArea = {10, 20, 300, 200}});
    const auto other = library.NewDataSet(), reference = library.NewDataSet();
    reference->SetValue(attribute::ReferencedSopInstanceUid, 0, "1.2.3.1.2");
    other->SetSequenceItem(attribute::ReferencedImageSequence, 0, reference);
    other->SetValue(attribute::DisplayedAreaBottomRight, 0, R"(7\7)");
    const auto own = AreaOf(state);
    state->SetSequenceItem(attribute::DisplayedAreaSelectionSequence, 0, other);
    state->SetSequenceItem(attribute::DisplayedAreaSelectionSequence, 1, own);
    EXPECT_EQ(ReadPresentationState(*state, *image, 0).view.displayedArea.right, 300);
}

TEST_F(PresentationStates, OfSeveralFramesTheOneAskedForIsRead) {
    const auto state = Make(ViewParameters{.displayedArea = {10, 20, 300, 200}});
    const auto reference = library.NewDataSet();
    reference->SetValue(attribute::ReferencedSopInstanceUid, 0, "1.2.3.1.1");
    reference->SetValue(attribute::ReferencedFrameNumber, 0, R"(3\5)");
    AreaOf(state)->SetSequenceItem(attribute::ReferencedImageSequence, 0, reference);
    EXPECT_EQ(ReadPresentationState(*state, *image, 4).view.displayedArea.right, 300);
    EXPECT_EQ(ReadPresentationState(*state, *image, 3).view.displayedArea.right, 0);
}

TEST_F(PresentationStates, AnAreaIsReadWhicheverCornersItsMakerNames) {
    const auto state = Make(ViewParameters{});
    AreaOf(state)->SetValue(attribute::DisplayedAreaTopLeft, 0, R"(300\21)");
    AreaOf(state)->SetValue(attribute::DisplayedAreaBottomRight, 0, R"(11\200)");
    EXPECT_EQ(ReadPresentationState(*state, *image, 0).view.displayedArea, (ViewParameters::Area{10, 20, 300, 200}));
}

/// 65,536 entries have the number 0 (DICOM PS3.3, C.11.6.1).
TEST_F(PresentationStates, ATableOfAllEntriesThatRisesIsNotInverse) {
    const auto state = Make(ViewParameters{.displayedArea = {}, .gamma = 2});
    const auto table = state->GetSequenceItem(attribute::PresentationLutSequence, 0);
    table->SetValue(attribute::LutDescriptor, 0, R"(0\0\16)");
    std::string data = "1";
    for (int entry = 1; entry < 65536; ++entry)
        data += "\\" + std::to_string(entry);
    table->SetValue(attribute::LutData, 0, data);
    EXPECT_FALSE(ReadPresentationState(*state, *image, 0).view.inverted);
}

TEST_F(PresentationStates, ATableOfAnotherMakerIsNoReasonToFail) {
    const auto state = Make(ViewParameters{.displayedArea = {}, .gamma = 2});
    const auto table = state->GetSequenceItem(attribute::PresentationLutSequence, 0);
    for (const char* descriptor : {R"(0\0\16)", R"(1\0\16)", "", R"(65535\0\16)"}) {
        table->SetValue(attribute::LutDescriptor, 0, descriptor);
        EXPECT_TRUE(ReadPresentationState(*state, *image, 0).view.gamma > 0) << descriptor;
    }
}

} // namespace
} // namespace tavrel::test
