#include "platform/dcmtk/DataSetEncoder.h"

#include "platform/attributes.h"
#include "platform/dcmtk/CharacterSet.h"
#include "platform/dcmtk/DcmtkDataSet.h"
#include "platform/dcmtk/DicomFailure.h"
#include "platform/dcmtk/DicomValues.h"
#include "platform/dcmtk/TextConverter.h"
#include "platform/dcmtk/TextElements.h"
#include "platform/limits.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdatset.h>
#include <dcmtk/dcmdata/dcfilefo.h>
#include <dcmtk/dcmdata/dcostrmb.h>
#include <dcmtk/dcmdata/dcsequen.h>
#include <dcmtk/dcmdata/dcwcache.h>

#include <array>
#include <cstdio>

namespace tavrel {
namespace {

constexpr std::size_t LongestShortValue = 65534; ///< bytes, in a VR whose length has 16 bits

/// Where in the data set the encoder is, for messages.
struct Place {
    const Place* holder;
    Tag tag;
    std::size_t item; ///< 1-based; 0 for an element

    std::string Name() const {
        std::string name = holder != nullptr ? holder->Name() + ", " : "";
        name += AttributeName(tag);
        return item == 0 ? name : name + " item " + std::to_string(item);
    }
};

std::string CharacterName(char32_t character) {
    std::array<char, 16> name{};
    std::snprintf(name.data(), name.size(), "U+%04X", static_cast<unsigned>(character));
    return name.data();
}

std::string Shown(std::string_view utf8, std::size_t position) {
    std::string_view rest = utf8;
    for (; position > 1 && !rest.empty(); --position)
        TakeCharacter(rest);
    const auto from = rest;
    if (!rest.empty())
        TakeCharacter(rest);
    return std::string{from.substr(0, from.size() - rest.size())};
}

/// A control character that no DICOM text may hold (PS3.5, 6.1.3).
std::optional<LostCharacter> FindControl(std::string_view utf8) {
    std::size_t position = 0;
    while (!utf8.empty()) {
        const char32_t character = TakeCharacter(utf8);
        ++position;
        const bool allowed = character == U'\t' || character == U'\n' || character == U'\f' || character == U'\r';
        if ((character < 0x20 && !allowed) || character == 0x7F)
            return LostCharacter{character, position};
    }
    return std::nullopt;
}

void CheckValue(std::string_view text, std::string_view vr, const Place& place) {
    if (const auto control = FindControl(text))
        throw DicomFailure(DicomFault::BadText, "The control character " + CharacterName(control->character) +
                                                    " at position " + std::to_string(control->position) + " of " +
                                                    place.Name() + " cannot be stored in a DICOM file.");
    if (vr != "UI")
        return;
    for (std::string_view rest = text; !rest.empty();) {
        const auto end = std::min(rest.find('\\'), rest.size());
        if (end > longest::Uid)
            throw DicomFailure(DicomFault::BadValue, "The UID " + std::string{rest.substr(0, end)} + " of " +
                                                         place.Name() + " is longer than 64 characters.");
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
}

class Encoder {
public:
    Encoder(std::string declared) : declared_(std::move(declared)), set_(declared_) {}

    void Encode(const DcmtkDataSet& source, DcmItem& target, const Place* holder) const {
        for (const auto& [tag, element] : source.Elements()) {
            if (tag.group == 0x0002)
                continue;
            std::unique_ptr<DcmElement> encoded;
            if (const auto* sequence = std::get_if<DcmtkSequence>(&element))
                encoded = EncodeSequence(tag, *sequence, holder);
            else
                encoded = EncodeElement(*std::get<std::unique_ptr<DcmElement>>(element), {holder, tag, 0});
            if (target.insert(encoded.get(), OFTrue).good())
                static_cast<void>(encoded.release());
        }
    }

private:
    std::unique_ptr<DcmElement> EncodeSequence(Tag tag, const DcmtkSequence& items, const Place* holder) const {
        auto sequence = std::make_unique<DcmSequenceOfItems>(DcmTag{tag.group, tag.element, EVR_SQ});
        for (std::size_t index = 0; index < items.size(); ++index) {
            const Place place{holder, tag, index + 1};
            auto item = std::make_unique<DcmItem>();
            if (items[index]->Elements().contains(attribute::SpecificCharacterSet))
                Encoder{items[index]->GetString(attribute::SpecificCharacterSet)}.Encode(*items[index], *item, &place);
            else
                Encode(*items[index], *item, &place);
            if (sequence->append(item.get()).good())
                static_cast<void>(item.release());
        }
        return sequence;
    }

    std::unique_ptr<DcmElement> EncodeElement(const DcmElement& element, const Place& place) const {
        auto copy = CopyOf(element);
        const auto vr = VrOf(element);
        if (!IsTextVr(vr))
            return copy;
        const auto text = RawText(element);
        CheckValue(text, vr, place);
        const auto kind = TextKindOf(vr);
        static const CharacterSet ascii{""};
        std::string bytes;
        if (const auto lost = (kind ? set_ : ascii).Encode(text, kind.value_or(TextKind::Plain), bytes))
            throw CannotHold(*lost, text, kind.has_value(), place);
        if (bytes.size() > LongestShortValue && vr != "UT" && vr != "UC" && vr != "UR")
            throw DicomFailure(DicomFault::BadText,
                               "The text of " + place.Name() + " is too long: " + std::to_string(bytes.size()) +
                                   " bytes, at most " + std::to_string(LongestShortValue) + " can be stored.");
        if (bytes != text)
            PutText(*copy, bytes);
        return copy;
    }

    Error CannotHold(const LostCharacter& lost, std::string_view text, bool usesSet, const Place& place) const {
        const std::string declared = declared_ + (set_.IsWritable() ? "" : ", which is only read");
        const std::string set = usesSet && !declared_.empty() ? declared : "ASCII (no character set is declared)";
        return DicomFailure(DicomFault::BadText, "The character \"" + Shown(Composed(text), lost.position) + "\" (" +
                                                     CharacterName(lost.character) + ") at position " +
                                                     std::to_string(lost.position) + " of " + place.Name() +
                                                     " cannot be written in the character set " + set + ".");
    }

    std::string declared_;
    CharacterSet set_;
};

} // namespace

std::unique_ptr<DcmDataset> EncodeDataSet(const DcmtkDataSet& source) {
    auto target = std::make_unique<DcmDataset>();
    Encoder{source.GetString(attribute::SpecificCharacterSet)}.Encode(source, *target, nullptr);
    return target;
}

std::string EncodeFile(std::unique_ptr<DcmDataset> dataSet) {
    constexpr E_TransferSyntax syntax = EXS_LittleEndianExplicit;
    DcmFileFormat file{dataSet.release(), OFFalse};
    if (!file.getDataset()->canWriteXfer(syntax))
        throw DicomFailure(DicomFault::FileUnsaved,
                           "The data set holds compressed images, which cannot be saved uncompressed.");
    std::array<char, 64UL * 1024> block{};
    DcmOutputBufferStream stream{block.data(), static_cast<offile_off_t>(block.size())};
    DcmWriteCache cache;
    std::string bytes;
    OFCondition outcome = EC_StreamNotifyClient;
    file.transferInit();
    while (outcome == EC_StreamNotifyClient) {
        outcome = file.write(stream, syntax, EET_ExplicitLength, &cache, EGL_withoutGL, EPD_withoutPadding, 0, 0, 0,
                             EWM_createNewMeta);
        void* written = nullptr;
        offile_off_t length = 0;
        stream.flushBuffer(written, length);
        bytes.append(static_cast<const char*>(written), static_cast<std::size_t>(length));
    }
    file.transferEnd();
    if (outcome.bad())
        throw DicomFailure(DicomFault::FileUnsaved,
                           std::string{"The data set cannot be written as a DICOM file: "} + outcome.text() + ".");
    return bytes;
}

} // namespace tavrel
