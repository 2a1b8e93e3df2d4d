#pragma once

#include "platform/dcmtk/OtherElements.h"
#include "platform/dcmtk/TextElements.h"
#include "platform/dicom.h"

#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace tavrel {

struct FileBytes;
struct StoreRequest;

struct ReadElement;

/// An item, or a whole data set, as its file has it: texts are not yet decoded, the lengths of groups are left out.
/// Lists, so that who takes it apart leaves nothing of what is taken.
struct ReadItem {
    std::optional<std::string> characterSet; ///< that it declares
    std::list<ReadElement> elements;
};

struct ReadElement {
    Tag tag;
    std::variant<TextElement, OtherElement, std::list<ReadItem>> value;
};

struct ReadFile {
    ReadItem meta; ///< its meta information; empty when it has none
    ReadItem data;
};

/// How the elements of a file are written.
struct Encoding {
    bool explicitVr = true;
    bool bigEndian = false;
};

/// What the adapter has a toolkit for. The rest of it touches none, so that a program may do without until it reads a
/// saved report or stores one: the toolkit and what it loads take a tenth of the editor's start.
class Toolkit {
public:
    virtual ~Toolkit() = default;

    /// What is no DICOM is an error that names the file. The structure of the bytes is checked before.
    virtual ReadFile Read(const FileBytes& file) const = 0;

    /// Of a transfer syntax; nothing of one that is not known.
    virtual std::optional<Encoding> EncodingOf(const std::string& transferSyntax) const = 0;

    /// The dictionary's name of an element, "PatientName", and its VR; "UN" when the dictionary has none.
    virtual std::string Keyword(Tag tag) const = 0;
    virtual std::string_view Vr(Tag tag) const = 0;
    /// Before somebody waits for it.
    virtual void ReadDictionary() const = 0;
};

using StoreFunction = void(const StoreRequest& request);

/// The toolkit, and its network, which a program is linked to or loads with the first use, by any thread. Why that
/// fails is a `std::runtime_error` in words that follow "because".
const Toolkit& TheToolkit();
StoreFunction& TheStore();

/// To be called at the program's start, so that what is loaded later is what was installed then.
void HoldToolkit();

} // namespace tavrel

/// What a module of the toolkit has. The module has no code of the program in it but the toolkit's side.
extern "C" const tavrel::Toolkit* TavrelToolkit();
/// What it throws is as of `tavrel::StoreDataSet`.
extern "C" void TavrelStore(const tavrel::StoreRequest& request);
