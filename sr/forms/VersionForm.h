#pragma once

#include "host/Global.h"
#include "platform/dicom.h"
#include "sr/content/ContentNode.h"
#include "sr/content/ObservationContext.h"
#include "sr/content/ReferencedImage.h"

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavrel {

/// What a report says as it is to be written.
struct VersionContent {
    const ContentNode& title; ///< the heading, with the title's text
    const std::string& reading;
    const ContentNode& bodyPart;
    const std::vector<ContentNode>& findings;
    const std::vector<ContentNode>& diagnoses;
    const std::vector<ReferencedImage>& images;
    bool approved;
};

/// How a site writes the versions of its reports. One report may hold versions of every form: a version after one of
/// another form takes over the patient, the study, the series, the equipment and who saved, nothing else.
class VersionForm {
public:
    explicit VersionForm(Global& global) : global_(global) {}
    VersionForm(const VersionForm&) = delete;
    VersionForm& operator=(const VersionForm&) = delete;
    virtual ~VersionForm() = default;

    /// The Specific Character Set of every version.
    virtual std::string_view CharacterSet() const = 0;
    /// What is typed or pasted, as far as that set needs it in plain characters.
    virtual std::string Typed(std::string_view text) const = 0;
    virtual std::string NewSeriesUid() const = 0;
    /// Puts what a new report takes from an image of its study into its first data set.
    virtual void TakeFromImage(const DicomDataSet& image, const DataSetHandle& version) const = 0;
    /// What a version cannot hold, whatever its character set, is an error.
    virtual void RequireWritable(const VersionContent& content) const = 0;
    /// Appends the data set from which the version after the last one begins.
    virtual void AppendTo(DataSetList& versions) const = 0;
    /// Writes the content into that data set. `earlier` is how many of the versions it follows.
    virtual void Write(const VersionContent& content, const DataSetList& versions, int earlier) const = 0;

protected:
    DicomLibrary& Dicom() const { return global_.ports.dicom; }
    /// Makes and answers a new item at `index` of a sequence.
    DataSetHandle NewItem(DicomDataSet& dataSet, Tag sequence, int index) const;
    void WritePredecessors(DicomDataSet& version, const DataSetList& versions, int earlier) const;

    using Named = std::pair<std::string_view, std::string_view>;
    /// What would be read as two values where one must stand is an error, by its name.
    static void RequireSingleValues(std::initializer_list<Named> values);

    Global& global_;
};

/// The form that the site writes.
std::unique_ptr<const VersionForm> FormOf(Global& global);

/// Who saved a version and those before it, in their order, whatever its form.
std::vector<ObservationContext> SaversOf(const DicomDataSet& version);

} // namespace tavrel
