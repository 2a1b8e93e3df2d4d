#pragma once

#include "platform/datetime.h"

#include <compare>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tavrel {

/// The address of a data element (DICOM PS3.5, 7.1).
struct Tag {
    std::uint16_t group;
    std::uint16_t element;
    // NOLINTNEXTLINE(modernize-use-nullptr): the check takes the 0 within a generated comparison for a pointer.
    auto operator<=>(const Tag&) const = default;
};

/// A data element's address with the value representation by which it is read and written.
struct Attribute : Tag {
    std::string_view vr;
};

/// The value of an element: nothing (the element is absent or empty), text in UTF-8 with line ends
/// CR LF, a date-time (VR DA, TM, DT), or an integer.
using Value = std::variant<std::monostate, std::string, DateTime, std::int16_t>;

/// The numbers of the errors of the objects below; their source is "DICOM".
enum class DicomFault : int {
    FileUnreadable = 101, ///< the file cannot be opened, or is none
    NotDicom,             ///< its structure is no DICOM file's
    FileChanged,          ///< it was replaced between the check and the reading
    NoSuchDataSet,
    NoSuchItem,
    BadValue,    ///< the value does not fit the VR
    BadText,     ///< the declared character set cannot hold the text
    FileUnsaved, ///< the file could not be written
    NotSendable, ///< refused before anything was sent: the data set or its address cannot go out
    NotStored,   ///< the service could not be reached, refused or did not answer
    NotItsTurn,  ///< the service refused: the report has a version that this one does not follow, or is approved
};

/// A character, with the marks that combine with it, that a data set cannot hold.
struct LostCharacter {
    std::string text;   ///< UTF-8
    std::size_t offset; ///< bytes before it in the UTF-8 text
    bool operator==(const LostCharacter&) const = default;
};

/// An element of a data set that cannot be written, and why.
struct Unwritable {
    struct Step {
        Tag tag;
        int item; ///< 0-based of a sequence, -1 for the element itself
        bool operator==(const Step&) const = default;
    };
    std::vector<Step> path;          ///< from the data set to the element
    std::string name;                ///< in words: "Content Sequence item 2, Text Value"
    std::string text;                ///< the element's whole text, UTF-8; empty when nothing in it is lost
    std::vector<LostCharacter> lost; ///< all of them, in their order
    std::string reason;              ///< what is wrong besides, in a sentence; empty when nothing is
};

class DicomDataSet;
using DataSetHandle = std::shared_ptr<DicomDataSet>;

/// One data set or sequence item. A handle is a reference: it stays live, and a write to an item
/// shows in the data set that holds it, until that item is replaced; then the handle keeps the item
/// that it named. Every failure is an `Error`.
class DicomDataSet {
public:
    virtual ~DicomDataSet() = default;

    /// The value at `valueIndex`. Reading never fails for an odd VR: the element's own counts.
    /// Index 0 of an LO, SH, PN or UT answers the whole text.
    virtual Value GetValue(const Attribute& attribute, int valueIndex = 0) const = 0;

    /// Creates or replaces the element. Text is not judged here but when the data set is saved or
    /// sent. An unknown VR, and a value that is no IS or UI where one is asked for, are errors.
    virtual void SetValue(const Attribute& attribute, int valueIndex, const Value& value) = 0;

    /// Writes a DICOM file (PS3.10), explicit VR little endian, in the character set that the data
    /// set declares; whole or not at all. A character that the set lacks is an error that names it.
    virtual void SaveToFile(std::string_view path) const = 0;

    /// Everything for which SaveToFile or StoreToNode would refuse the data set as it stands, in the
    /// order of its elements. They refuse the first; what lies outside (a full disk, a service that
    /// is away) is told only by trying.
    virtual std::vector<Unwritable> FindUnwritable() const = 0;

    virtual int GetSequenceItemCount(Tag sequence) const = 0;

    /// The item at the 0-based `index`, or no object when there is no such item.
    virtual DataSetHandle GetSequenceItem(Tag sequence, int index) const = 0;

    /// Puts `item` at the 0-based `index`, replacing what stands there; index = count appends.
    /// The handle given is the item from then on. An item of another sequence is copied in.
    virtual void SetSequenceItem(Tag sequence, int index, const DataSetHandle& item) = 0;

    /// Puts a sequence without items in the place of what stands there.
    virtual void SetEmptySequence(Tag sequence) = 0;

    /// Sends the data set to a storage service (C-STORE, PS3.4 annex B) in one association and
    /// returns when the service has answered with success and its store event has been handled.
    /// Bounded: 5 s to connect, 30 s for each answer. `DicomFault::NotSendable`, before connecting: no
    /// study or series UID, a UID over 64 characters, an AE title over 16, text that the declared set
    /// cannot hold. `DicomFault::NotItsTurn`: the service has not got it (`platform/store_status.h`). Any other
    /// error: the service may not have the data set.
    virtual void StoreToNode(std::string_view host, std::string_view port, std::string_view callingAe,
                             std::string_view calledAe, bool wait) = 0;
};

/// An ordered list of data sets; a report keeps its versions in one. Indexes are 0-based; an index
/// that names no data set is the error "No data set at index N".
class DataSetList {
public:
    virtual ~DataSetList() = default;

    /// Reads one DICOM file and appends it. The file's structure is checked whole before anything
    /// is appended; its elements are parsed when something asks for them.
    virtual void LoadFile(std::string_view path, int flag = -1, int reserved = 0) = 0;
    /// Called after every LoadFile; keeps the order of loading.
    virtual void Arrange(int order) = 0;

    virtual int Count() const = 0;

    /// Appends a new empty data set (`source` -1) or a copy of the one at `source`, which shares
    /// nothing with it.
    virtual void AddDataSet(int source) = 0;
    /// Takes a data set out; those behind it move up. A handle of it stays live.
    virtual void RemoveDataSet(int index) = 0;
    virtual DataSetHandle Item(int index) const = 0;

    /// The same as Count, asked right after loading.
    int ItemCount() const { return Count(); }

    Value GetElementValue(int index, const Attribute& attribute, int valueIndex = 0) const {
        return Item(index)->GetValue(attribute, valueIndex);
    }
    void SetElementValue(int index, const Attribute& attribute, int valueIndex, const Value& value) {
        Item(index)->SetValue(attribute, valueIndex, value);
    }
    /// The element's text; empty when it is absent or no text.
    std::string GetElementString(int index, const Attribute& attribute) const {
        const Value value = GetElementValue(index, attribute);
        const auto* text = std::get_if<std::string>(&value);
        return text ? *text : std::string();
    }
    void SetElementString(int index, const Attribute& attribute, std::string_view text) {
        SetElementValue(index, attribute, 0, std::string(text));
    }
};

/// Makes the objects of the DICOM data-object library.
class DicomLibrary {
public:
    virtual ~DicomLibrary() = default;
    virtual DataSetHandle NewDataSet() = 0;
    virtual std::shared_ptr<DataSetList> NewDataSetList() = 0;

    /// The series of these image files, in their order. A file is opened when one of its elements is
    /// first asked for and never read beyond its header, so a series costs as much as is looked at.
    virtual std::shared_ptr<DataSetList> OpenImageSeries(std::span<const std::string> paths) = 0;

    /// The characters of a text that a data set which declares this Specific Character Set cannot
    /// hold, in their order: control characters are among them.
    virtual std::vector<LostCharacter> FindUnwritable(std::string_view text, std::string_view characterSet) const = 0;

    /// A version will be stored: what the first store needs and nothing before it is read beside, once.
    virtual void GetReadyToStore() {}
};

} // namespace tavrel
