#pragma once

#include "codes/ReportCodes.h"
#include "host/Global.h"
#include "platform/datetime.h"

#include <optional>
#include <string>
#include <vector>

namespace tavrel {

/// What a person types into a report.
struct TypedTexts {
    std::string heading{}, title{}, reading{};
    std::optional<ReportCodes> codes{}; ///< none where they are no part of a report
    bool operator==(const TypedTexts&) const = default;
};

/// The report that a draft belongs to. A report that was never saved gets another series at each opening, so it is
/// known by its study.
struct DraftOwner {
    enum class Kind { Report, NewReport };
    Kind kind = Kind::NewReport;
    std::string uid{}; ///< of the report's series, or of the new report's study
    std::string patientId{}, patientName{};
};

/// Typed and not saved.
struct Draft {
    TypedTexts texts{};
    DateTime written{};
    std::string version{}; ///< the label of the report's last version at that time; empty when there was none
};

struct KeptDraft {
    std::string file{}; ///< empty when it is in memory alone
    Draft draft{};
};

/// The drafts of an account: one file each in "drafts" of the state folder, in UTF-8. A file is never written over by
/// another draft, so several processes can keep drafts of one report. Failures are the caller's.
class Drafts {
public:
    explicit Drafts(const Ports& ports) : ports_(ports) {}

    /// The drafts of a report, the newest first. Fails never: what cannot be read, is damaged or is another
    /// patient's stays where it is and is named in the desktop's log. Cost grows with the number of these drafts.
    std::vector<KeptDraft> Of(const DraftOwner& owner) const;
    /// Nothing when the file is gone, cannot be read or holds no draft of `owner`.
    std::optional<Draft> Read(const std::string& file, const DraftOwner& owner) const;
    /// Whether the file is there.
    bool There(const std::string& file) const { return ports_.files.Exists(file); }

    /// Answers the new file.
    std::string Add(const DraftOwner& owner, const Draft& draft);
    void Rewrite(const std::string& file, const DraftOwner& owner, const Draft& draft);
    /// A file that cannot go is named in the desktop's log.
    void Remove(const std::string& file);

private:
    std::string Folder() const;
    void LeaveAlone(const std::string& file, const std::string& why) const;

    const Ports& ports_;
};

/// The newest first.
void SortDrafts(std::vector<KeptDraft>& drafts);

} // namespace tavrel
