#include "platform/dcmtk/DataSetEncoder.h"

#include "platform/attributes.h"
#include "platform/dcmtk/DcmtkDataSet.h"
#include "platform/dcmtk/DicomFailure.h"
#include "platform/dcmtk/DicomValues.h"
#include "platform/dcmtk/FileMeta.h"
#include "platform/dcmtk/TextCheck.h"
#include "platform/dcmtk/TextConverter.h"
#include "platform/dcmtk/TextElements.h"
#include "platform/limits.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdatset.h>
#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcostrmb.h>
#include <dcmtk/dcmdata/dcsequen.h>
#include <dcmtk/dcmdata/dcwcache.h>
#include <dcmtk/dcmdata/dcxfer.h>

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

class Encoder {
public:
    Encoder(std::string declared, const Refuse& refuse)
        : declared_(std::move(declared)), set_(declared_), refuse_(refuse) {}

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
                Encoder{items[index]->GetString(attribute::SpecificCharacterSet), refuse_}.Encode(*items[index], *item,
                                                                                                  &place);
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
        const auto kind = TextKindOf(vr);
        static const CharacterSet ascii{""};
        const auto check = CheckText(text, kind ? set_ : ascii, kind.value_or(TextKind::Plain));
        if (auto refusal = Judge(text, check, vr, place))
            refuse_(std::move(*refusal));
        else if (check.bytes != text)
            PutText(*copy, check.bytes);
        return copy;
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
};

std::unique_ptr<DcmDataset> Encoded(const DcmtkDataSet& source, const Refuse& refuse) {
    auto target = std::make_unique<DcmDataset>();
    Encoder{source.GetString(attribute::SpecificCharacterSet), refuse}.Encode(source, *target, nullptr);
    return target;
}

constexpr E_TransferSyntax FileSyntax = EXS_LittleEndianExplicit;
constexpr std::string_view HoldsCompressedImages =
    "The data set holds compressed images, which cannot be saved uncompressed.";

} // namespace

std::unique_ptr<DcmDataset> EncodeDataSet(const DcmtkDataSet& source) {
    return Encoded(source, [](const Refusal& refusal) { throw refusal.error; });
}

std::vector<Unwritable> FindRefusals(const DcmtkDataSet& source) {
    std::vector<Unwritable> found;
    const auto encoded = Encoded(source, [&](Refusal refusal) { found.push_back(std::move(refusal.element)); });
    if (!encoded->canWriteXfer(FileSyntax))
        found.push_back({{{attribute::PixelData, -1}},
                         AttributeWords(attribute::PixelData),
                         {},
                         {},
                         std::string{HoldsCompressedImages}});
    return found;
}

std::string UidOf(DcmDataset& dataSet, const DcmTagKey& tag) {
    OFString uid;
    dataSet.findAndGetOFString(tag, uid);
    return uid;
}

std::string EncodeFile(std::unique_ptr<DcmDataset> dataSet) {
    if (!dataSet->canWriteXfer(FileSyntax))
        throw DicomFailure(DicomFault::FileUnsaved, std::string{HoldsCompressedImages});
    std::array<char, 64UL * 1024> block{};
    DcmOutputBufferStream stream{block.data(), static_cast<offile_off_t>(block.size())};
    DcmWriteCache cache;
    std::string bytes = FileMeta(UidOf(*dataSet, DCM_SOPClassUID), UidOf(*dataSet, DCM_SOPInstanceUID),
                                 DcmXfer(FileSyntax).getXferID());
    OFCondition outcome = EC_StreamNotifyClient;
    dataSet->transferInit();
    while (outcome == EC_StreamNotifyClient) {
        outcome = dataSet->write(stream, FileSyntax, EET_ExplicitLength, &cache, EGL_withoutGL, EPD_withoutPadding);
        void* written = nullptr;
        offile_off_t length = 0;
        stream.flushBuffer(written, length);
        bytes.append(static_cast<const char*>(written), static_cast<std::size_t>(length));
    }
    dataSet->transferEnd();
    if (outcome.bad())
        throw DicomFailure(DicomFault::FileUnsaved,
                           std::string{"The data set cannot be written as a DICOM file: "} + outcome.text() + ".");
    return bytes;
}

} // namespace tavrel
