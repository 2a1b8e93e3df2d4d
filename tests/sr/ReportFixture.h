#pragma once

#include "host/Text.h"
#include "platform/attributes.h"
#include "sr/DcmSRDocument.h"
#include "tests/support/Failure.h"
#include "tests/support/Workstation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tavrel::test {

/// A workstation with the example study and one document on it.
class ReportFixture : public testing::Test {
protected:
    ReportFixture() {
        station.AddExampleStudy();
        global.userSignature = "Dr. Mario Rossi";
    }

    void CreateReport() { document.CreateFromDDO(*station.ImageSeries(), 0); }
    void LoadReport(const ReportSeed& seed) { document.LoadSeries(station.AddReport(seed)); }

    DataSetHandle VersionAt(int index) const { return document.Series()->Item(index); }
    DataSetHandle LastVersion() const { return VersionAt(document.NumVersions() - 1); }
    static std::string Text(const DataSetHandle& dataSet, const Attribute& attribute) {
        return TextOf(*dataSet, attribute);
    }
    std::string LastText(const Attribute& attribute) const { return Text(LastVersion(), attribute); }

    std::vector<std::string> Labels() const {
        std::vector<std::string> labels;
        for (std::int16_t index = 1; index <= document.VersionCount(); ++index)
            labels.push_back(document.Version(index));
        return labels;
    }
    /// The item of the last version's content tree.
    DataSetHandle LastItem(int index) const {
        return LastVersion()->GetSequenceItem(attribute::ContentSequence, index);
    }
    /// Sends a version that is then read back, as a save does it, and lets a second pass.
    void SendAndRead() {
        document.Send();
        document.GotoVersion(static_cast<std::int16_t>(document.NumVersions() - 1));
        ++station.clock.now.second;
    }
    ContentNode Heading() const {
        ContentNode title;
        document.GetTitle(title.CodeScheme, title.Code, title.CodeMeaning, title.Annotation);
        return title;
    }
    std::vector<std::string> Shown() const { return station.windows.Texts(); }

    Workstation station;
    Global& global = station.global;
    DcmSRDocument document{global};
};

} // namespace tavrel::test
