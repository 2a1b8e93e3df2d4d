#pragma once

#include "sr/forms/VersionForm.h"

namespace tavrel {

/// The form that archives of many years have. Its attributes, their order and their odd values stay as they are.
class ClassicVersion final : public VersionForm {
public:
    using VersionForm::VersionForm;

    std::string_view CharacterSet() const override { return "ISO_IR 100"; }
    std::string Typed(std::string_view text) const override;
    std::string NewSeriesUid() const override;
    void TakeFromImage(const DicomDataSet& image, const DataSetHandle& version) const override;
    void RequireWritable(const VersionContent& content) const override;
    void AppendTo(DataSetList& versions) const override;
    void Write(const VersionContent& content, const DataSetList& versions, int earlier) const override;

private:
    /// In the place of what stands there.
    void WriteTextItem(DicomDataSet& version, int index, const ContentNode& content) const;
    void AppendSaver(DicomDataSet& version, const ObservationContext& saver) const;
};

} // namespace tavrel
