#pragma once

#include "platform/dicom.h"
#include "sr/content/ContentNode.h"

#include <string_view>
#include <utility>

namespace tavrel {

/// A data set, or an item in it, that is being written.
class ItemBuilder {
public:
    ItemBuilder(DicomLibrary& dicom, DataSetHandle dataSet) : dicom_(&dicom), dataSet_(std::move(dataSet)) {}

    const DicomDataSet& DataSet() const { return *dataSet_; }

    void Set(const Attribute& attribute, const Value& value) const { dataSet_->SetValue(attribute, 0, value); }
    /// Sets an element that may be missing only if there is something to say.
    void SetIfAny(const Attribute& attribute, const Value& value) const;
    /// An LO or SH, which has one line of bounded length: the rest is left out, a line's end is a blank, and a
    /// backslash, which would make two values of it, is "/".
    void SetShort(const Attribute& attribute, std::string_view text, std::size_t longest) const;
    void SetEmptySequence(Tag sequence) const { dataSet_->SetEmptySequence(sequence); }

    ItemBuilder Append(Tag sequence) const;
    /// A coded entry (DICOM PS3.3, 8.8). What is required and missing is made up for: the program's own scheme, the
    /// code for its meaning.
    void AppendCode(Tag sequence, const ContentNode& code) const;

private:
    DicomLibrary* dicom_;
    DataSetHandle dataSet_;
};

/// The scheme that stands for a code's own: the program's where it has none.
std::string_view SchemeOf(const ContentNode& code);

} // namespace tavrel
