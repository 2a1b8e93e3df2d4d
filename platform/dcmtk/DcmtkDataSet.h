#pragma once

#include "platform/dcmtk/DicomFile.h"
#include "platform/dcmtk/OtherElements.h"
#include "platform/dcmtk/TextElements.h"
#include "platform/dicom.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tavrel {

class DcmtkDataSet;
struct DcmtkNetwork;
struct EncodedDataSet;
struct StoreTarget;

using DcmtkSequence = std::vector<std::shared_ptr<DcmtkDataSet>>;
using DcmtkElement = std::variant<TextElement, OtherElement, DcmtkSequence>;
using DcmtkElements = std::map<Tag, DcmtkElement>;

/// A data set or item. No object of the toolkit is in it: they cost ten times as much to make, to copy and to write,
/// and a handle stays sound whatever becomes of the sequence that holds it. Text is kept in UTF-8, decoded when
/// the file is parsed, so a later change of the declared character set harms nothing.
/// Elements of group 0002 are kept beside the others and never written into the data set.
class DcmtkDataSet final : public DicomDataSet, public std::enable_shared_from_this<DcmtkDataSet> {
public:
    /// Without a network it can be a sequence item, and be read and saved, but not be sent.
    explicit DcmtkDataSet(std::shared_ptr<const DcmtkNetwork> network = nullptr);
    /// A data set whose elements are parsed when something asks for them.
    DcmtkDataSet(std::shared_ptr<const DcmtkNetwork> network, DicomFile file);
    ~DcmtkDataSet() override;

    Value GetValue(const Attribute& attribute, int valueIndex = 0) const override;
    void SetValue(const Attribute& attribute, int valueIndex, const Value& value) override;
    void SaveToFile(std::string_view path) const override;
    std::vector<Unwritable> FindUnwritable() const override;
    int GetSequenceItemCount(Tag sequence) const override;
    DataSetHandle GetSequenceItem(Tag sequence, int index) const override;
    void SetSequenceItem(Tag sequence, int index, const DataSetHandle& item) override;
    void SetEmptySequence(Tag sequence) override;
    void StoreToNode(std::string_view host, std::string_view port, std::string_view callingAe,
                     std::string_view calledAe, bool wait) override;

    /// The element's whole text, empty when it is absent.
    std::string GetString(Tag tag) const;

    /// A copy that shares nothing with this data set.
    std::shared_ptr<DcmtkDataSet> Copy() const;

    /// All elements.
    const DcmtkElements& Elements() const;

    /// Replaces all elements; `characterSet` is the one that applied to them in their file.
    void Adopt(DcmtkElements elements, std::string characterSet);

private:
    void ParseEarlyPart() const;
    void ParseAll() const;
    void ReadInto(const FileBytes& bytes) const;
    void Take(EarlyTexts early) const;
    /// No sequence.
    const DcmtkElement* Find(Tag tag) const;
    const DcmtkSequence* FindSequence(Tag tag) const;
    bool Contains(const DcmtkDataSet& other) const;
    std::string TextOf(const DcmtkElement& element) const;
    std::vector<Unwritable> MissingUids() const;
    /// A data set that cannot go out as it stands is an error.
    EncodedDataSet Sendable(const StoreTarget& target) const;

    std::shared_ptr<const DcmtkNetwork> network_;
    std::weak_ptr<const DcmtkDataSet> holder_; ///< the data set whose sequence holds this item

    // Reading parses on demand, which changes nothing that a caller can see.
    mutable std::optional<DicomFile> file_; ///< until all is parsed
    mutable bool earlyPartParsed_ = false;
    mutable std::vector<Tag> earlyOthers_; ///< what the early part has beside what is known of it
    mutable DcmtkElements elements_;
    mutable std::string characterSet_;
};

} // namespace tavrel
