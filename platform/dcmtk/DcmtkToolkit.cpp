#include "platform/dcmtk/DcmtkToolkit.h"

#include "platform/dcmtk/DicomFailure.h"
#include "platform/dcmtk/Elements.h"
#include "platform/dcmtk/Toolkit.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdatset.h>
#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcdict.h>
#include <dcmtk/dcmdata/dcelem.h>
#include <dcmtk/dcmdata/dcistrmb.h>
#include <dcmtk/dcmdata/dcistrmf.h>
#include <dcmtk/dcmdata/dcostrmb.h>
#include <dcmtk/dcmdata/dcsequen.h>
#include <dcmtk/dcmdata/dctag.h>
#include <dcmtk/dcmdata/dcwcache.h>
#include <dcmtk/dcmdata/dcxfer.h>
#include <dcmtk/oflog/oflog.h>

#include <array>
#include <utility>

namespace tavrel {
namespace {

E_TransferSyntax ToolkitSyntax(const std::string& path, const std::string& declared, bool explicitVr, bool bigEndian) {
    const E_TransferSyntax known = DcmXfer{declared.c_str()}.getXfer();
    if (known == EXS_Unknown && !declared.empty())
        throw NoDicom(path, "its transfer syntax " + declared + " is not known");
    if (!declared.empty())
        return known;
    if (explicitVr)
        return bigEndian ? EXS_BigEndianExplicit : EXS_LittleEndianExplicit;
    return bigEndian ? EXS_BigEndianImplicit : EXS_LittleEndianImplicit;
}

/// The toolkit's read accessors load values on demand and so are not const.
DcmElement& Accessible(const DcmElement& element) {
    return const_cast<DcmElement&>(element);
}

std::array<char, 2> Letters(std::string_view vr) {
    return {vr[0], vr[1]};
}

/// The element as the toolkit writes it.
OFCondition Write(DcmElement& element, std::string& bytes) {
    constexpr E_TransferSyntax fileSyntax = EXS_LittleEndianExplicit;
    if (!element.canWriteXfer(fileSyntax, EXS_Unknown))
        return EC_CannotChangeRepresentation;
    std::array<char, 4096> block{};
    DcmOutputBufferStream stream{block.data(), static_cast<offile_off_t>(block.size())};
    DcmWriteCache cache;
    OFCondition outcome = EC_StreamNotifyClient;
    element.transferInit();
    while (outcome == EC_StreamNotifyClient) {
        outcome = element.write(stream, fileSyntax, EET_ExplicitLength, &cache);
        void* written = nullptr;
        offile_off_t length = 0;
        stream.flushBuffer(written, length);
        bytes.append(static_cast<const char*>(written), static_cast<std::size_t>(length));
    }
    element.transferEnd();
    return outcome;
}

OtherElement TakeOther(DcmElement& element) {
    std::string bytes;
    const OFCondition outcome = Write(element, bytes);
    if (outcome == EC_CannotChangeRepresentation)
        return {Letters(VrOf(element)), {}, "it is of compressed images, which cannot be saved uncompressed"};
    if (outcome.bad())
        return {Letters(VrOf(element)), {}, outcome.text()};
    const std::string_view vr = std::string_view{bytes}.substr(4, 2);
    return {Letters(vr), bytes.substr(HeadSizeOf(vr)), {}};
}

ReadItem Take(DcmItem& source) {
    ReadItem item;
    if (OFString declared; source.findAndGetOFStringArray(DCM_SpecificCharacterSet, declared).good())
        item.characterSet = declared;
    while (const std::unique_ptr<DcmElement> element{source.remove(0UL)}) {
        const Tag tag{element->getGTag(), element->getETag()};
        if (element->ident() == EVR_SQ) {
            auto& sequence = static_cast<DcmSequenceOfItems&>(*element);
            std::list<ReadItem> items;
            while (const std::unique_ptr<DcmItem> each{sequence.remove(0UL)})
                items.push_back(Take(*each));
            item.elements.push_back({tag, std::move(items)});
        } else if (IsTextVr(VrOf(*element))) {
            item.elements.push_back({tag, StoredText(*element)});
        } else {
            item.elements.push_back({tag, TakeOther(*element)});
        }
    }
    return item;
}

class DcmtkToolkit final : public Toolkit {
public:
    /// What goes wrong is told through errors; the toolkit's remarks on the console help nobody.
    DcmtkToolkit() { OFLog::configure(OFLogger::OFF_LOG_LEVEL); }

    ReadFile Read(const FileBytes& file) const override {
        const ParsedFile parsed = Parse(file);
        return {parsed.meta ? Take(*parsed.meta) : ReadItem{}, Take(*parsed.data)};
    }

    std::optional<Encoding> EncodingOf(const std::string& transferSyntax) const override {
        const DcmXfer syntax{transferSyntax.c_str()};
        return syntax.getXfer() == EXS_Unknown
                   ? std::nullopt
                   : std::optional{Encoding{syntax.isExplicitVR() == OFTrue, syntax.isBigEndian() == OFTrue}};
    }

    std::string Keyword(Tag tag) const override { return DcmTag{tag.group, tag.element}.getTagName(); }

    std::string_view Vr(Tag tag) const override {
        return DcmVR{DcmTag{tag.group, tag.element}.getEVR()}.getValidVRName();
    }

    void ReadDictionary() const override {
        dcmDataDict.rdlock(); // which reads it
        dcmDataDict.rdunlock();
    }
};

} // namespace

ParsedFile Parse(const FileBytes& file) {
    const auto parse = [&file](std::string_view part, E_TransferSyntax syntax) {
        auto dataSet = std::make_unique<DcmDataset>();
        DcmInputBufferStream stream;
        stream.setBuffer(part.data(), static_cast<offile_off_t>(part.size()));
        stream.setEos();
        dataSet->transferInit();
        const OFCondition outcome = dataSet->read(stream, syntax, EGL_withoutGL);
        dataSet->transferEnd();
        if (outcome.bad())
            throw NoDicom(file.path, outcome.text());
        return dataSet;
    };
    const std::string_view bytes = file.bytes;
    ParsedFile result;
    if (file.metaLength > 0)
        result.meta = parse(bytes.substr(0, file.metaLength), EXS_LittleEndianExplicit);
    result.data = parse(bytes.substr(file.metaLength),
                        ToolkitSyntax(file.path, file.transferSyntax, file.explicitVr, file.bigEndian));
    return result;
}

std::unique_ptr<DcmDataset> ParseImage(const std::string& path, const DicomLayout& layout) {
    DcmInputFileStream stream{path.c_str()};
    stream.skip(static_cast<offile_off_t>(layout.dataBegin)); // an offset of the stream's own the late values forget
    auto dataSet = std::make_unique<DcmDataset>();
    dataSet->transferInit();
    const OFCondition outcome =
        dataSet->readUntilTag(stream, ToolkitSyntax(path, layout.transferSyntax, layout.explicitVr, layout.bigEndian),
                              EGL_noChange, DCM_MaxReadLength, DcmTagKey{PixelGroup + 1, 0});
    dataSet->transferEnd();
    if (outcome.bad())
        throw NoDicom(path, outcome.text());
    return dataSet;
}

std::string_view VrOf(const DcmElement& element) {
    return DcmVR{Accessible(element).getVR()}.getValidVRName();
}

TextElement StoredText(const DcmElement& element) {
    char* text = nullptr;
    Uint32 length = 0;
    if (Accessible(element).getString(text, length).bad() || text == nullptr)
        length = 0;
    return {Letters(VrOf(element)), length == 0 ? std::string{} : std::string{text, length}};
}

} // namespace tavrel

const tavrel::Toolkit* TavrelToolkit() {
    static const tavrel::DcmtkToolkit toolkit;
    return &toolkit;
}
