#pragma once

#include "sr/forms/VersionForm.h"

namespace tavrel {

/// The form that any archive, any viewer and any alphabet accept: all that the standard asks of a Basic Text SR
/// (DICOM PS3.3, A.35.1), in UTF-8, with the content tree of `WriteInterchangeTree`.
class InterchangeVersion final : public VersionForm {
public:
    using VersionForm::VersionForm;

    std::string_view CharacterSet() const override { return "ISO_IR 192"; }
    std::string Typed(std::string_view text) const override { return std::string(text); }
    std::string NewSeriesUid() const override;
    void TakeFromImage(const DicomDataSet& image, const DataSetHandle& version) const override;
    void RequireWritable(const VersionContent& content) const override;
    void AppendTo(DataSetList& versions) const override;
    void Write(const VersionContent& content, const DataSetList& versions, int earlier) const override;

private:
    ObservationContext Saver(const DateTime& now) const;
};

} // namespace tavrel
