#include "editor/Drafts.h"

#include "host/ErrorReport.h"
#include "host/Text.h"
#include "platform/limits.h"
#include "platform/paths.h"
#include "platform/text.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <tuple>

namespace tavrel {
namespace {

constexpr std::string_view Extension = ".draft";
constexpr std::string_view FirstLine = "Tavrel draft 1\n";
constexpr std::string_view BodyPart = "Body part", Finding = "Finding", Diagnosis = "Diagnosis";
constexpr std::string_view Scheme = "Scheme", Meaning = "Meaning", Annotation = "Annotation"; // of either

std::string_view Name(DraftOwner::Kind kind) {
    return kind == DraftOwner::Kind::Report ? "report" : "new report of study";
}

/// How the names of a report's drafts begin. A UID from a foreign file may hold anything; which report a draft
/// belongs to is read from the file.
std::string Stem(const DraftOwner& owner) {
    std::string uid = owner.uid.substr(0, longest::Uid);
    std::ranges::replace_if(
        uid, [](char c) { return !IsDigit(c) && c != '.'; }, '_');
    return (owner.kind == DraftOwner::Kind::Report ? "report-" : "new-") + uid + "-";
}

/// Two patients may both lack an ID, and a patient's name may be put right meanwhile.
bool SamePatient(const DraftOwner& left, const DraftOwner& right) {
    return left.patientId == right.patientId && (!left.patientId.empty() || left.patientName == right.patientName);
}

/// FNV-1a: a word that a damaged disk has changed must not come back into a report.
std::string Checksum(std::string_view bytes) {
    std::uint64_t sum = 0xCBF29CE484222325U;
    for (const char byte : bytes)
        sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001B3U;
    return std::to_string(sum);
}

std::string Line(std::string_view name, std::string_view value) {
    return std::string(name) + " (" + std::to_string(value.size()) + "): " + std::string(value) + "\n";
}

std::string LinesOf(std::string_view name, const std::vector<ContentNode>& entries) {
    std::string lines;
    for (const auto& [scheme, code, meaning, annotation] : entries)
        lines += Line(name, code) + Line(Scheme, scheme) + Line(Meaning, meaning) + Line(Annotation, annotation);
    return lines;
}

std::string Written(const DraftOwner& owner, const Draft& draft) {
    std::string text(FirstLine);
    text += Line("Kind", Name(owner.kind));
    text += Line("UID", owner.uid);
    text += Line("Patient ID", owner.patientId);
    text += Line("Patient", owner.patientName);
    text += Line("Typed", FullDateTimeText(draft.written));
    text += Line("Version", draft.version);
    text += Line("Heading", draft.texts.heading);
    text += Line("Title", draft.texts.title);
    text += Line("Reading", draft.texts.reading);
    if (const auto& codes = draft.texts.codes) {
        text += Line(BodyPart, codes->bodyPart);
        text += LinesOf(Finding, codes->findings) + LinesOf(Diagnosis, codes->diagnoses);
    }
    return text + Line("Check", Checksum(text));
}

/// Reads what `Written` has written; everything else is an error.
class Reader {
public:
    explicit Reader(std::string_view text) : text_(text) {}

    void Expect(std::string_view expected) {
        if (!text_.substr(at_).starts_with(expected))
            throw Error(Fault::TypeMismatch, "Drafts", at_ == 0 ? "It is no draft of this program" : "It is damaged");
        at_ += expected.size();
    }
    std::string Value(std::string_view name) {
        Expect(name);
        Expect(" (");
        std::size_t size = 0;
        const auto rest = text_.substr(at_);
        at_ +=
            static_cast<std::size_t>(std::from_chars(rest.data(), rest.data() + rest.size(), size).ptr - rest.data());
        Expect("): ");
        std::string value(text_.substr(at_, size));
        at_ += value.size();
        Expect("\n");
        return value;
    }
    bool Follows(std::string_view name) const { return text_.substr(at_).starts_with(name); }
    std::vector<ContentNode> Entries(std::string_view name) {
        std::vector<ContentNode> entries;
        while (Follows(name)) {
            ContentNode& entry = entries.emplace_back();
            entry.Code = Value(name);
            entry.CodeScheme = Value(Scheme);
            entry.CodeMeaning = Value(Meaning);
            entry.Annotation = Value(Annotation);
        }
        return entries;
    }
    void End() {
        const std::string sum = Checksum(text_.substr(0, at_));
        if (Value("Check") != sum || at_ != text_.size())
            throw Error(Fault::TypeMismatch, "Drafts", "It is damaged");
    }

private:
    std::string_view text_;
    std::size_t at_ = 0;
};

struct DraftFile {
    std::string kind;
    DraftOwner owner;
    Draft draft;
};

DraftFile ReadDraft(std::string_view text) {
    if (text.empty())
        throw Error(Fault::TypeMismatch, "Drafts", "It is empty");
    Reader reader(text);
    reader.Expect(FirstLine);
    DraftFile file;
    file.kind = reader.Value("Kind");
    file.owner.uid = reader.Value("UID");
    file.owner.patientId = reader.Value("Patient ID");
    file.owner.patientName = reader.Value("Patient");
    file.draft.written = ParseDate(reader.Value("Typed")).value_or(DateTime{});
    file.draft.version = reader.Value("Version");
    file.draft.texts.heading = reader.Value("Heading");
    file.draft.texts.title = reader.Value("Title");
    file.draft.texts.reading = reader.Value("Reading");
    if (reader.Follows(BodyPart)) {
        auto& codes = file.draft.texts.codes.emplace();
        codes.bodyPart = reader.Value(BodyPart);
        codes.findings = reader.Entries(Finding);
        codes.diagnoses = reader.Entries(Diagnosis);
    }
    reader.End();
    return file;
}

/// Nothing when it is another report's, whose name looks the same.
std::optional<Draft> DraftOf(const DraftOwner& owner, std::string_view text) {
    DraftFile file = ReadDraft(text);
    if (file.kind != Name(owner.kind) || file.owner.uid != owner.uid)
        return std::nullopt;
    if (!SamePatient(file.owner, owner))
        throw Error(Fault::TypeMismatch, "Drafts", "It is of another patient");
    return std::move(file.draft);
}

} // namespace

std::string Drafts::Folder() const {
    return ports_.process.StateFolder() + "\\drafts";
}

void Drafts::LeaveAlone(const std::string& file, const std::string& why) const {
    ports_.process.LogToDesktop("The draft \"" + NativePath(file) + "\" is left alone: " + why);
}

std::vector<KeptDraft> Drafts::Of(const DraftOwner& owner) const {
    std::vector<KeptDraft> drafts;
    const auto look = [&](const std::string& file) {
        if (auto draft = DraftOf(owner, ports_.files.ReadText(file)))
            drafts.push_back({file, *std::move(draft)});
    };
    std::string folder;
    Trap(
        [&] {
            folder = Folder();
            if (!ports_.files.Exists(folder))
                return;
            for (const std::string& name : ports_.files.List(folder, Extension)) {
                std::string file = folder;
                file.append("\\").append(name);
                if (name.starts_with(Stem(owner)))
                    Trap([&] { look(file); }, [&](const Error& error) { LeaveAlone(file, error.description); });
            }
        },
        [&](const Error& error) { LeaveAlone(folder, error.description); });
    SortDrafts(drafts);
    return drafts;
}

std::optional<Draft> Drafts::Read(const std::string& file, const DraftOwner& owner) const {
    std::optional<Draft> draft;
    Trap([&] { draft = DraftOf(owner, ports_.files.ReadText(file)); }, [](const Error&) {});
    return draft;
}

std::string Drafts::Add(const DraftOwner& owner, const Draft& draft) {
    // The time in the name: a name that has become free is not taken again, as a process that wrote it may go on.
    std::string file = ports_.files.CreateNew(Folder(), Stem(owner) + TimeStamp(ports_.clock), Extension);
    try {
        Rewrite(file, owner, draft);
    } catch (...) {
        ports_.files.Remove(file);
        throw;
    }
    return file;
}

void Drafts::Rewrite(const std::string& file, const DraftOwner& owner, const Draft& draft) {
    ports_.files.WriteText(file, Written(owner, draft));
}

void Drafts::Remove(const std::string& file) {
    ports_.files.Remove(file);
    if (ports_.files.Exists(file))
        LeaveAlone(file, "It cannot be removed");
}

void SortDrafts(std::vector<KeptDraft>& drafts) {
    // Of two of one second the one with the higher number in its name is newer.
    const auto age = [](const KeptDraft& each) { return std::tuple(each.draft.written, each.file.size(), each.file); };
    std::ranges::stable_sort(drafts, std::ranges::greater(), age);
}

} // namespace tavrel
