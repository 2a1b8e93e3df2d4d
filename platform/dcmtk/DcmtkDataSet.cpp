#include "platform/dcmtk/DcmtkDataSet.h"

#include "platform/attributes.h"
#include "platform/dcmtk/CharacterSet.h"
#include "platform/dcmtk/DataSetDecoder.h"
#include "platform/dcmtk/DataSetEncoder.h"
#include "platform/dcmtk/DcmtkStore.h"
#include "platform/dcmtk/DicomFailure.h"
#include "platform/dcmtk/DicomValues.h"
#include "platform/dcmtk/Elements.h"
#include "platform/dcmtk/Toolkit.h"
#include "platform/paths.h"
#include "platform/posix/WholeFile.h"

#include <algorithm>
#include <array>
#include <utility>

namespace tavrel {
namespace {

bool IsBeyondAscii(char c) {
    return static_cast<unsigned char>(c) >= 0x80;
}

constexpr VrSet LeadingBlankVrs{"LT ST UT UC"};      ///< of all others blanks before a value mean nothing (PS3.5, 6.2)
constexpr VrSet WholeVrs{"LO SH PN UT LT ST UR UN"}; ///< index 0 of these names the whole text, whatever "\" it holds
constexpr VrSet SingleValueVrs{"UT LT ST UR"};

std::string_view Part(std::string_view text, int index) {
    for (; index > 0; --index) {
        const auto end = text.find('\\');
        if (end == std::string_view::npos)
            return {};
        text.remove_prefix(end + 1);
    }
    return text.substr(0, text.find('\\'));
}

std::string_view ValueVr(Tag tag, const DcmtkElement& element) {
    if (const auto* text = std::get_if<TextElement>(&element))
        return text->Vr();
    const auto vr = std::get<OtherElement>(element).Vr();
    return vr == "UN" ? TheToolkit().Vr(tag) : vr;
}

DcmtkElement NewElement(const Attribute& attribute, std::string text) {
    if (!IsTextVr(attribute.vr))
        return NewNumber(attribute, text);
    return TextElement{{attribute.vr[0], attribute.vr[1]}, std::move(text)};
}

DcmtkElement CopyOf(const DcmtkElement& element) {
    if (const auto* text = std::get_if<TextElement>(&element))
        return *text;
    if (const auto* other = std::get_if<OtherElement>(&element))
        return *other;
    const auto& items = std::get<DcmtkSequence>(element);
    DcmtkSequence copies;
    copies.reserve(items.size());
    for (const auto& item : items)
        copies.push_back(item->Copy());
    return copies;
}

const Toolkit& ToolkitFor(const FileBytes& file) {
    try {
        return TheToolkit();
    } catch (const std::exception& failure) {
        throw DicomFailure(DicomFault::FileUnreadable,
                           "The file " + file.path + " cannot be read: " + failure.what() + ".");
    }
}

void CheckValueIndex(int valueIndex, Tag tag) {
    if (valueIndex != 0)
        throw DicomFailure(DicomFault::BadValue, "Only the first value of " + AttributeName(tag) + " can be set.");
}

} // namespace

DcmtkDataSet::DcmtkDataSet(std::shared_ptr<const DcmtkNetwork> network)
    : network_(std::move(network)), earlyPartParsed_(true) {}

DcmtkDataSet::DcmtkDataSet(std::shared_ptr<const DcmtkNetwork> network, DicomFile file)
    : network_(std::move(network)), file_(std::move(file)) {}

DcmtkDataSet::~DcmtkDataSet() = default;

void DcmtkDataSet::ReadInto(const FileBytes& bytes) const {
    ReadFile file = ToolkitFor(bytes).Read(bytes);
    characterSet_ = file.data.characterSet.value_or(std::string{});
    elements_ = DecodeElements(std::move(file.meta), {});
    elements_.merge(DecodeElements(std::move(file.data), characterSet_));
}

void DcmtkDataSet::ParseEarlyPart() const {
    if (earlyPartParsed_)
        return;
    if (auto early = file_->ReadEarlyTexts())
        Take(std::move(*early));
    else
        ReadInto(file_->TakeEarlyPart());
    earlyPartParsed_ = true;
}

void DcmtkDataSet::Take(EarlyTexts early) const {
    const auto declares = [](const auto& entry) { return entry.first == attribute::SpecificCharacterSet; };
    if (const auto declared = std::ranges::find_if(early.texts, declares); declared != early.texts.end())
        characterSet_ = declared->second.Text();
    const CharacterSet set{characterSet_};
    for (auto& [tag, text] : early.texts)
        elements_.insert_or_assign(tag, DecodeText(std::move(text), set));
    earlyOthers_ = std::move(early.others);
}

void DcmtkDataSet::ParseAll() const {
    if (!file_)
        return;
    ReadInto(file_->Read());
    earlyPartParsed_ = true;
    earlyOthers_.clear();
    file_.reset();
}

const DcmtkElements& DcmtkDataSet::Elements() const {
    ParseAll();
    return elements_;
}

void DcmtkDataSet::Adopt(DcmtkElements elements, std::string characterSet) {
    for (auto& [tag, element] : elements)
        if (auto* sequence = std::get_if<DcmtkSequence>(&element))
            for (auto& item : *sequence)
                item->holder_ = weak_from_this();
    elements_ = std::move(elements);
    characterSet_ = std::move(characterSet);
}

const DcmtkElement* DcmtkDataSet::Find(Tag tag) const {
    file_&& tag.group <= file_->LastEarlyGroup() ? ParseEarlyPart() : ParseAll();
    if (std::ranges::find(earlyOthers_, tag) != earlyOthers_.end())
        ParseAll();
    const auto found = elements_.find(tag);
    if (found == elements_.end() || std::holds_alternative<DcmtkSequence>(found->second))
        return nullptr;
    return &found->second;
}

std::string DcmtkDataSet::TextOf(const DcmtkElement& element) const {
    const auto* held = std::get_if<TextElement>(&element);
    const auto* other = std::get_if<OtherElement>(&element);
    const auto vr = held != nullptr ? held->Vr() : other->Vr();
    std::string text;
    if (held != nullptr) {
        text = held->Text();
        if (!TextKindOf(vr)) // codes, dates, UIDs: they have no character set, so a byte beyond ASCII means nothing
            std::ranges::replace_if(text, IsBeyondAscii, '?');
    } else if (vr == "UN") {
        text = CharacterSet{characterSet_}.Decode(WithoutPadding(other->value), TextKind::Values);
    } else if (IsNumberVr(vr)) {
        text = NumberText(*other);
    }
    if (!LeadingBlankVrs.Holds(vr))
        text.erase(0, std::min(text.find_first_not_of(' '), text.size()));
    return text;
}

Value DcmtkDataSet::GetValue(const Attribute& attribute, int valueIndex) const {
    const DcmtkElement* element = Find(attribute);
    if (element == nullptr)
        return {};
    std::string text = TextOf(*element);
    const auto vr = ValueVr(attribute, *element);
    if (text.empty() || valueIndex < 0 || (valueIndex > 0 && SingleValueVrs.Holds(vr)))
        return {};
    if (valueIndex == 0 && WholeVrs.Holds(vr))
        return text;
    const auto part = Part(text, valueIndex);
    if (IsDateTimeVr(vr)) {
        const auto moment = ParseDicomMoment(part, vr);
        return moment ? Value{*moment} : Value{};
    }
    return part.empty() ? Value{} : Value{std::string{part}};
}

std::string DcmtkDataSet::GetString(Tag tag) const {
    const DcmtkElement* element = Find(tag);
    return element == nullptr ? std::string{} : TextOf(*element);
}

void DcmtkDataSet::SetValue(const Attribute& attribute, int valueIndex, const Value& value) {
    CheckValueIndex(valueIndex, attribute);
    auto element = NewElement(attribute, DicomText(value, attribute));
    ParseAll();
    elements_.insert_or_assign(attribute, std::move(element));
}

void DcmtkDataSet::SaveToFile(std::string_view path) const {
    WriteWholeFile(NativePath(std::string{path}), EncodeFile(EncodeDataSet(*this)));
}

const DcmtkSequence* DcmtkDataSet::FindSequence(Tag tag) const {
    ParseAll(); // a handle to an item must outlive the early part
    const auto found = elements_.find(tag);
    return found == elements_.end() ? nullptr : std::get_if<DcmtkSequence>(&found->second);
}

int DcmtkDataSet::GetSequenceItemCount(Tag sequence) const {
    const auto* items = FindSequence(sequence);
    return items == nullptr ? 0 : static_cast<int>(items->size());
}

DataSetHandle DcmtkDataSet::GetSequenceItem(Tag sequence, int index) const {
    const auto* items = FindSequence(sequence);
    if (items == nullptr || index < 0 || static_cast<std::size_t>(index) >= items->size())
        return nullptr;
    return (*items)[static_cast<std::size_t>(index)];
}

void DcmtkDataSet::SetSequenceItem(Tag sequence, int index, const DataSetHandle& item) {
    auto given = std::dynamic_pointer_cast<DcmtkDataSet>(item);
    const int count = GetSequenceItemCount(sequence);
    if (given == nullptr || index < 0 || index > count)
        throw DicomFailure(DicomFault::NoSuchItem, "No place for item " + std::to_string(index) + " in " +
                                                       AttributeName(sequence) + ", which has " +
                                                       std::to_string(count) + " items.");
    if (index < count && GetSequenceItem(sequence, index) == item)
        return;
    if (!given->holder_.expired() || given->Contains(*this))
        given = given->Copy();
    auto& element = elements_[sequence];
    if (!std::holds_alternative<DcmtkSequence>(element))
        element = DcmtkSequence{};
    auto& items = std::get<DcmtkSequence>(element);
    if (index == count) {
        items.push_back(given);
    } else {
        items[static_cast<std::size_t>(index)]->holder_.reset();
        items[static_cast<std::size_t>(index)] = given;
    }
    given->holder_ = weak_from_this();
}

void DcmtkDataSet::SetEmptySequence(Tag sequence) {
    ParseAll();
    const auto items = std::exchange(elements_[sequence], DcmtkSequence{});
    if (const auto* replaced = std::get_if<DcmtkSequence>(&items))
        for (const auto& item : *replaced)
            item->holder_.reset();
}

bool DcmtkDataSet::Contains(const DcmtkDataSet& other) const {
    if (this == &other)
        return true;
    return std::ranges::any_of(elements_, [&](const auto& entry) {
        const auto* sequence = std::get_if<DcmtkSequence>(&entry.second);
        return sequence != nullptr &&
               std::ranges::any_of(*sequence, [&](const auto& item) { return item->Contains(other); });
    });
}

std::shared_ptr<DcmtkDataSet> DcmtkDataSet::Copy() const {
    auto copy = std::make_shared<DcmtkDataSet>(network_);
    DcmtkElements elements;
    for (const auto& [tag, element] : Elements())
        elements.emplace_hint(elements.end(), tag, CopyOf(element));
    copy->Adopt(std::move(elements), characterSet_);
    return copy;
}

std::vector<Unwritable> DcmtkDataSet::MissingUids() const {
    using Named = std::pair<Tag, std::string>; // a new report, which lacks two of them, needs no dictionary for it
    static const std::array needed{Named{attribute::SopClassUid, "SOP Class UID"},
                                   Named{attribute::SopInstanceUid, "SOP Instance UID"},
                                   Named{attribute::StudyInstanceUid, "Study Instance UID"},
                                   Named{attribute::SeriesInstanceUid, "Series Instance UID"}};
    std::vector<Unwritable> missing;
    for (const auto& [tag, words] : needed)
        if (GetString(tag).empty())
            missing.push_back({{{tag, -1}},
                               words,
                               {},
                               {},
                               "The version cannot be sent: it has no " + words + " " + TagNumber(tag) + "."});
    return missing;
}

std::vector<Unwritable> DcmtkDataSet::FindUnwritable() const {
    auto found = MissingUids();
    std::ranges::move(FindRefusals(*this), std::back_inserter(found));
    return found;
}

EncodedDataSet DcmtkDataSet::Sendable(const StoreTarget& target) const {
    try {
        if (network_ == nullptr)
            throw DicomFailure(DicomFault::NotSendable, "A data set of a program that only reads cannot be sent.");
        CheckTarget(target);
        if (const auto missing = MissingUids(); !missing.empty())
            throw DicomFailure(DicomFault::NotSendable, missing.front().reason);
        return EncodeDataSet(*this);
    } catch (const Error& refused) {
        throw DicomFailure(DicomFault::NotSendable, refused.description);
    }
}

void DcmtkDataSet::StoreToNode(std::string_view host, std::string_view port, std::string_view callingAe,
                               std::string_view calledAe, bool wait) {
    const StoreTarget target{std::string{host}, std::string{port}, std::string{callingAe}, std::string{calledAe}};
    const auto encoded = Sendable(target);
    if (wait)
        network_->events.Expect(GetString(attribute::SopInstanceUid));
    try {
        network_->background.Run("Storing the version ...",
                                 [&] { StoreDataSet(encoded, target, network_->timeouts, network_->store()); });
    } catch (const std::exception& failure) {
        const auto* known = dynamic_cast<const Error*>(&failure);
        const bool notItsTurn = known && known->number == static_cast<int>(DicomFault::NotItsTurn);
        throw DicomFailure(notItsTurn ? DicomFault::NotItsTurn : DicomFault::NotStored,
                           "The version could not be stored by the storage service " + target.Name() + ": " +
                               failure.what() + ".");
    }
    if (wait)
        network_->events.AwaitSentEvents();
}

} // namespace tavrel
