#include "suite/catalogue/SetupCommand.h"

#include "platform/error.h"
#include "platform/odbc/OdbcDatabase.h"
#include "platform/text.h"
#include "suite/catalogue/EditorPlace.h"

#include <CLI/CLI.hpp>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

/// A line from the terminal; no shell has read the "~" in it.
std::string Answer() {
    std::string line;
    if (!std::getline(std::cin, line)) {
        std::cout << "\n"; // which nobody has typed
        throw Error(Fault::OfTheSuite, "Setup", "ended; nothing was changed");
    }
    const std::string answer(Trimmed(line));
    return answer.starts_with("~/") ? (ServiceStart::Here().home / answer.substr(2)).string() : answer;
}

} // namespace

void SetupCommand::AddOptions(CLI::App& command) {
    const auto text = [&](const char* name, std::string& value, const char* words, const char* kind) {
        return command.add_option(name, value, words)->type_name(kind);
    };
    text("--organization", given_.organization, "The hospital, as reports name it", "NAME");
    text("--base-uid", given_.baseUid, "The root of its UIDs; one that nobody else has is made up unless given", "UID");
    text("--reports", given_.reports, "classic or interchange", "FORM")->default_str("interchange");
    text("--node", given_.node, "AE title of the workstation in the audit trail; the machine's name unless given",
         "AE");
    text(
        "--signature", given_.signature,
        "The name that this account's reports are signed with, \"Family name, given name\"; the account's unless given",
        "NAME");
    text("--port", given_.port, "TCP port of the storage service on this machine; a free one unless given", "N");
    text("--ae-title", given_.aeTitle, "AE title of the storage service", "AE")->default_str("PORVANE");
    text("--studies", given_.studies, "Folder of the studies; ~/.local/share/orbenta/studies unless given", "FOLDER");
    text("--codes", codes_, "Folder of the codes to start with: titles.csv, bodyparts.csv, findings.csv, diagnoses.csv",
         "FOLDER")
        ->check(CLI::ExistingDirectory.description(""));
    text("--logo", logo_, "Picture (BMP) for the head of the printed page, for all accounts of the machine", "FILE")
        ->check(CLI::ExistingFile.description(""));
    text("--import", import_, "Folder of DICOM files to begin with", "FOLDER")
        ->check(CLI::ExistingDirectory.description(""));
    command.add_flag("--yes", usingDefaults_, "Take the default of what is not given; nothing is asked");
    command.add_flag("--dry-run", lookingOnly_, "Say what is there and what is missing, and change nothing");
    command.add_flag("--as-root", asRoot_, "Set up root's account too, as for a try in a container");
}

void SetupCommand::RequireOwnAccount() const {
    if (geteuid() == 0 && !asRoot_)
        throw CLI::ValidationError("A workstation is the account's that writes the reports, and root is none: run this "
                                   "as that account, without sudo");
}

std::string SetupCommand::Ask(const SetupQuestion& question) const {
    for (;;) {
        std::cout << question.words << " [" << question.preset << "]: " << std::flush;
        std::string answer = Answer();
        if (answer.empty())
            return question.preset;
        const std::string fault = question.fault(answer);
        if (fault.empty())
            return answer;
        std::cout << "  This " << fault << ".\n";
    }
}

/// What is given and set already stays as it is.
void SetupCommand::SayWhatIsKept(const std::vector<SetupQuestion>& questions) const {
    struct Kept {
        std::string SetupValues::*value;
        const char* words;
    };
    for (const auto& [value, words] :
         {Kept{&SetupValues::organization, "the hospital; \"orbenta-catalogue site --organization\" changes it"},
          Kept{&SetupValues::baseUid, "the root of UIDs; \"orbenta-catalogue site --base-uid\" changes it"},
          Kept{&SetupValues::reports, "the form of reports; \"orbenta-catalogue site --reports\" changes it"},
          Kept{&SetupValues::node, "the node; \"orbenta-catalogue site --node\" changes it"},
          Kept{&SetupValues::signature, "the signature; \"orbenta-catalogue user\" changes it"},
          Kept{&SetupValues::port, "the port; \"orbenta-catalogue port --port\" changes it"},
          Kept{&SetupValues::aeTitle, "the AE title; \"orbenta-catalogue port --ae-title\" changes it"},
          Kept{&SetupValues::studies, "the folder of the studies; docs/installation.md says how it is changed"}})
        if (!(given_.*value).empty() && std::ranges::find(questions, value, &SetupQuestion::value) == questions.end())
            std::cout << "kept     " << words << "\n";
}

SetupValues SetupCommand::Answers(Setup& setup) {
    const auto questions = setup.Questions(given_);
    SayWhatIsKept(questions);
    const bool asking = !usingDefaults_ && isatty(STDIN_FILENO);
    SetupValues answers;
    std::string lacking;
    bool explained = false;
    for (const SetupQuestion& question : questions) {
        std::string& answer = answers.*question.value = given_.*question.value;
        if (!answer.empty()) {
            if (const std::string fault = question.fault(answer); !fault.empty()) {
                std::string words(question.option);
                words.append(": \"").append(answer).append("\" ").append(fault);
                throw CLI::ValidationError(words);
            }
        } else if (question.words.empty() || usingDefaults_) {
            answer = question.preset;
        } else if (asking) {
            if (!explained)
                std::cout << "Enter takes what stands in brackets.\n\n";
            explained = true;
            answer = Ask(question);
        } else {
            lacking += (lacking.empty() ? "" : ", ") + std::string(question.option);
        }
    }
    if (!lacking.empty())
        throw CLI::ValidationError("There is no terminal to ask at: give " + lacking + ", or --yes for the defaults");
    if (explained && import_.empty())
        AskForStudies();
    if (explained)
        std::cout << "\n";
    return answers;
}

void SetupCommand::AskForStudies() {
    for (std::error_code ignored;; std::cout << "  There is no such folder.\n") {
        std::cout << "A folder of DICOM files to begin with (Enter for none): " << std::flush;
        import_ = Answer();
        if (import_.empty() || fs::is_directory(import_, ignored))
            return;
    }
}

/// Where it lies it is the machine's, beside the editor.
void SetupCommand::PutLogo() const {
    const auto place = BesideTheEditor("Logo.bmp");
    if (!place) {
        std::cout << "missing  the logo of the printed page has no place yet: no editor is installed\n";
        return;
    }
    std::error_code failure;
    fs::copy_file(logo_, *place, fs::copy_options::overwrite_existing, failure);
    if (!failure)
        fs::permissions(*place, fs::perms(0644), failure); // every account prints it
    if (!failure)
        std::cout << "made     the logo of the printed page, " << place->string() << "\n";
    else
        std::cout << "missing  the logo of the printed page is the machine's; its administrator puts it there:\n"
                  << "         sudo install -m 644 \"" << fs::absolute(logo_).string() << "\" " << place->string()
                  << "\n";
}

void SetupCommand::SayWhatNext(Setup& setup, int status) {
    if (status != EXIT_SUCCESS)
        std::cout << "\nSomething is missing still. \"orbenta-catalogue setup\" can be run again at any time.\n";
    else if (setup.Catalogue().OpenResultSet("SELECT StudyInstanceUID FROM Study")->AtEnd())
        std::cout
            << "\nAll is ready. Bring in studies with \"orbenta-catalogue import FOLDER\", and start Lumaret from "
               "the menu or with \"lumaret\".\n";
    else
        std::cout << "\nAll is ready. Start Lumaret from the menu or with \"lumaret\", choose a study and press "
                     "\"Report\".\n";
}

int SetupCommand::Run(const std::string& dataSource, const Commands& commands) {
    if (dataSource != Setup::DataSource)
        throw CLI::ValidationError("The programs of a workstation open " + std::string(Setup::DataSource) +
                                   " and nothing else, so that setup takes no --dsn");
    RequireOwnAccount();
    OdbcDatabase database;
    Setup setup(database, ServiceStart::Here(),
                codes_.empty() ? BesideTheTool("share/orbenta/codes") : fs::absolute(codes_),
                [this](bool there, const std::string& words) {
                    const char* missing = lookingOnly_ ? "missing  " : "made     ";
                    std::cout << (there ? "there    " : missing) << words << "\n" << std::flush;
                });
    if (lookingOnly_) {
        const bool whole = setup.Look();
        for (const SetupQuestion& question : setup.Questions(given_))
            std::cout << "default  " << question.option << " " << question.preset << "\n";
        return whole ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    if (!given_.studies.empty())
        given_.studies = fs::absolute(given_.studies).lexically_normal().string();
    const SetupValues answers = Answers(setup);
    try {
        setup.Run(answers);
    } catch (const Error& error) {
        throw Error(error.number, error.source,
                    error.description + "\nWhat was made stays; \"orbenta-catalogue setup\" goes on from there.");
    }
    if (!logo_.empty())
        PutLogo();
    const int imported = import_.empty() ? EXIT_SUCCESS : commands.import(import_);
    std::cout << "\n";
    const int status = commands.check();
    SayWhatNext(setup, status);
    return status == EXIT_SUCCESS ? imported : status;
}

} // namespace tavrel
