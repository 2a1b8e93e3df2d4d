#include "platform/dcmtk/DataSetEncoder.h"

#include "platform/attributes.h"
#include "platform/dcmtk/DcmtkDataSet.h"
#include "platform/dcmtk/DicomFailure.h"
#include "platform/dcmtk/DicomValues.h"
#include "platform/dcmtk/Elements.h"
#include "platform/dcmtk/FileMeta.h"
#include "platform/dcmtk/TextCheck.h"
#include "platform/dcmtk/TextConverter.h"
#include "platform/dcmtk/TextElements.h"
#include "platform/limits.h"

#include <array>
#include <cstdio>
#include <functional>

namespace tavrel {
namespace {

constexpr std::size_t LongestShortValue = 65534; ///< bytes, in a VR whose length has 16 bits

/// Where in the data set the encoder is.
struct Place {
    const Place* holder;
    Tag tag;
    std::size_t item; ///< 1-based; 0 for an element

    /// As messages name it: with the tags.
    std::string Name() const { return InWords(AttributeName); }
    std::string Words() const { return InWords(AttributeWords); }
    std::vector<Unwritable::Step> Path() const {
        auto path = holder != nullptr ? holder->Path() : std::vector<Unwritable::Step>{};
        path.push_back({tag, static_cast<int>(item) - 1});
        return path;
    }

private:
    std::string InWords(std::string (*nameOf)(Tag)) const {
        std::string name = holder != nullptr ? holder->InWords(nameOf) + ", " : "";
        name += nameOf(tag);
        return item == 0 ? name : name + " item " + std::to_string(item);
    }
};

/// An element that cannot be written: the error for who writes, the whole of it for who asks before.
struct Refusal {
    Error error;
    Unwritable element;
};

/// Told of each refusal in its order; may throw.
using Refuse = std::function<void(Refusal)>;

std::string CharacterName(char32_t character) {
    std::array<char, 16> name{};
    std::snprintf(name.data(), name.size(), "U+%04X", static_cast<unsigned>(character));
    return name.data();
}

std::string Shown(std::string_view utf8, const Misfit& misfit) {
    const auto from = utf8.substr(misfit.offset);
    std::string_view rest = from;
    TakeCharacter(rest);
    return std::string{from.substr(0, from.size() - rest.size())};
}

Error HoldsControl(const Misfit& control, const Place& place) {
    return DicomFailure(DicomFault::BadText, "The control character " + CharacterName(control.character) +
                                                 " at position " + std::to_string(control.position) + " of " +
                                                 place.Name() + " cannot be stored in a DICOM file.");
}

std::optional<Error> FindLongUid(std::string_view text, const Place& place) {
    for (std::string_view rest = text; !rest.empty();) {
        const auto end = std::min(rest.find('\\'), rest.size());
        if (end > longest::Uid)
            return DicomFailure(DicomFault::BadValue, "The UID " + std::string{rest.substr(0, end)} + " of " +
                                                          place.Name() + " is longer than 64 characters.");
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return std::nullopt;
}

std::optional<Error> FindLength(std::size_t bytes, std::string_view vr, const Place& place) {
    if (bytes <= LongestShortValue || vr == "UT" || vr == "UC" || vr == "UR")
        return std::nullopt;
    return DicomFailure(DicomFault::BadText, "The text of " + place.Name() + " is too long: " + std::to_string(bytes) +
                                                 " bytes, at most " + std::to_string(LongestShortValue) +
                                                 " can be stored.");
}

constexpr std::string_view ExplicitLittleEndian = "1.2.840.10008.1.2.1";
constexpr std::string_view ItemTag("\xFE\xFF\x00\xE0", 4);
constexpr int LengthSize = 4; ///< bytes, of an item and of the VRs of long values

int LengthSizeOf(std::string_view vr) {
    return ShortLengthVrs.Holds(vr) ? 2 : LengthSize;
}

/// An element's tag and VR; the length comes next.
void AppendHead(std::string& bytes, Tag tag, std::string_view vr) {
    const auto low = [](std::uint16_t number) { return static_cast<char>(number & 0xFFU); };
    const auto high = [](std::uint16_t number) { return static_cast<char>(number >> 8U); };
    const std::array<char, 6> head{low(tag.group), high(tag.group), low(tag.element), high(tag.element), vr[0], vr[1]};
    bytes.append(head.data(), head.size());
    if (!ShortLengthVrs.Holds(vr))
        bytes.append(2, '\0'); // reserved
}

/// Writes what `content` appends behind its length, of four bytes.
template <typename Content> void AppendMeasured(std::string& bytes, Content content) {
    const auto begin = bytes.size();
    bytes.append(LengthSize, '\0');
    content();
    bytes.replace(begin, LengthSize,
                  LittleEndian(static_cast<std::uint32_t>(bytes.size() - begin - LengthSize), LengthSize));
}

/// Most texts of a report: they are the same in every character set, and hold nothing that no text may. Those that
/// are no longer than a UID are not too long for any VR either.
bool IsPrintableAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
}

class Encoder {
public:
    Encoder(std::string declared, const Refuse& refuse, std::string& bytes)
        : declared_(std::move(declared)), set_(declared_), refuse_(refuse), bytes_(bytes) {}

    void Encode(const DcmtkDataSet& source, const Place* holder) const {
        for (const auto& [tag, element] : source.Elements()) {
            if (tag.group == 0x0002)
                continue;
            const Place place{holder, tag, 0};
            if (const auto* text = std::get_if<TextElement>(&element))
                EncodeText(*text, place);
            else if (const auto* other = std::get_if<OtherElement>(&element))
                EncodeOther(*other, place);
            else
                EncodeSequence(std::get<DcmtkSequence>(element), place);
        }
    }

private:
    void EncodeSequence(const DcmtkSequence& items, const Place& place) const {
        AppendHead(bytes_, place.tag, "SQ");
        AppendMeasured(bytes_, [&] {
            for (std::size_t index = 0; index < items.size(); ++index) {
                bytes_ += ItemTag;
                AppendMeasured(bytes_, [&] { EncodeItem(*items[index], {place.holder, place.tag, index + 1}); });
            }
        });
    }

    void EncodeItem(const DcmtkDataSet& item, const Place& place) const {
        if (item.Elements().contains(attribute::SpecificCharacterSet))
            Encoder{item.GetString(attribute::SpecificCharacterSet), refuse_, bytes_}.Encode(item, &place);
        else
            Encode(item, &place);
    }

    void EncodeOther(const OtherElement& element, const Place& place) const {
        if (element.unwritable.empty())
            return AppendValue(place.tag, element.Vr(), element.value);
        const std::string reason = place.Name() + " cannot be written: " + element.unwritable + ".";
        refuse_({DicomFailure(DicomFault::FileUnsaved, reason), {place.Path(), place.Words(), {}, {}, reason}});
    }

    void EncodeText(const TextElement& element, const Place& place) const {
        const auto vr = element.Vr();
        const auto text = element.Text();
        const auto kind = TextKindOf(vr);
        static const CharacterSet ascii{""};
        // Blanks at the end stay, unless there are more of them than a length can tell.
        const bool tooMany = ShortLengthVrs.Holds(vr) && element.stored.size() > LongestShortValue;
        const std::string_view stored = tooMany ? text : element.stored;
        if (IsPrintableAscii(text) && text.size() <= longest::Uid)
            return AppendValue(place.tag, vr, stored);
        const auto check = CheckText(text, kind ? set_ : ascii, kind.value_or(TextKind::Plain));
        if (auto refusal = Judge(text, check, vr, place))
            refuse_(std::move(*refusal));
        else
            AppendValue(place.tag, vr, check.bytes == text ? stored : check.bytes);
    }

    void AppendValue(Tag tag, std::string_view vr, std::string_view value) const {
        const bool odd = value.size() % 2 == 1;
        AppendHead(bytes_, tag, vr);
        bytes_ += LittleEndian(static_cast<std::uint32_t>(value.size() + (odd ? 1 : 0)), LengthSizeOf(vr));
        bytes_ += value;
        if (odd)
            bytes_ += IsTextVr(vr) && vr != "UI" ? ' ' : '\0';
    }

    std::optional<Refusal> Judge(std::string_view text, const TextCheck& check, std::string_view vr,
                                 const Place& place) const {
        const auto longUid = vr == "UI" ? FindLongUid(text, place) : std::nullopt;
        const auto length = check.Fits() ? FindLength(check.bytes.size(), vr, place) : std::nullopt;
        const auto& beyondText = longUid ? longUid : length;
        std::optional<Error> error = beyondText;
        if (!check.controls.empty())
            error = HoldsControl(check.controls.front(), place);
        else if (!longUid && !check.misfits.empty())
            error = CannotHold(check.misfits.front(), text, TextKindOf(vr).has_value(), place);
        if (!error)
            return std::nullopt;
        return Refusal{*error,
                       {place.Path(), place.Words(), check.Fits() ? std::string{} : std::string{text},
                        LostCharacters(text, check), beyondText ? beyondText->description : std::string{}}};
    }

    Error CannotHold(const Misfit& misfit, std::string_view text, bool usesSet, const Place& place) const {
        const std::string declared = declared_ + (set_.IsWritable() ? "" : ", which is only read");
        const std::string set = usesSet && !declared_.empty() ? declared : "ASCII (no character set is declared)";
        return DicomFailure(DicomFault::BadText, "The character \"" + Shown(ComposedText{text}.Text(), misfit) +
                                                     "\" (" + CharacterName(misfit.character) + ") at position " +
                                                     std::to_string(misfit.position) + " of " + place.Name() +
                                                     " cannot be written in the character set " + set + ".");
    }

    std::string declared_;
    CharacterSet set_;
    const Refuse& refuse_;
    std::string& bytes_;
};

std::string Encoded(const DcmtkDataSet& source, const Refuse& refuse) {
    std::string bytes;
    Encoder{source.GetString(attribute::SpecificCharacterSet), refuse, bytes}.Encode(source, nullptr);
    return bytes;
}

std::string FirstUid(const DcmtkDataSet& source, const Attribute& attribute) {
    const Value uid = source.GetValue(attribute);
    const auto* text = std::get_if<std::string>(&uid);
    return text == nullptr ? std::string{} : *text;
}

std::string_view TakeBytes(std::string_view& bytes, std::size_t count) {
    const auto taken = bytes.substr(0, count);
    bytes.remove_prefix(count);
    return taken;
}

} // namespace

EncodedDataSet EncodeDataSet(const DcmtkDataSet& source) {
    return {FirstUid(source, attribute::SopClassUid), FirstUid(source, attribute::SopInstanceUid),
            Encoded(source, [](const Refusal& refusal) { throw refusal.error; })};
}

std::vector<Unwritable> FindRefusals(const DcmtkDataSet& source) {
    std::vector<Unwritable> found;
    Encoded(source, [&](Refusal refusal) { found.push_back(std::move(refusal.element)); });
    return found;
}

std::string InImplicitVr(std::string_view explicitVr) {
    std::string bytes;
    while (!explicitVr.empty()) {
        const auto tag = TakeBytes(explicitVr, 4);
        const bool item = tag == ItemTag;
        const auto vr = item ? std::string_view{} : TakeBytes(explicitVr, 2);
        if (!item && !ShortLengthVrs.Holds(vr))
            TakeBytes(explicitVr, 2);
        const auto length = TakeBytes(explicitVr, static_cast<std::size_t>(item ? LengthSize : LengthSizeOf(vr)));
        const auto value = TakeBytes(explicitVr, LittleEndian(length));
        bytes += tag;
        AppendMeasured(bytes, [&] { bytes += item || vr == "SQ" ? InImplicitVr(value) : std::string{value}; });
    }
    return bytes;
}

std::string EncodeFile(const EncodedDataSet& dataSet) {
    return FileMeta(dataSet.sopClassUid, dataSet.sopInstanceUid, ExplicitLittleEndian) + dataSet.bytes;
}

} // namespace tavrel
