#pragma once

#include "platform/database.h"
#include "suite/catalogue/CodeTable.h"
#include "suite/catalogue/ServiceStart.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// What a person says of a new workstation.
struct SetupValues {
    std::string organization;
    std::string baseUid;
    std::string reports; ///< their form
    std::string node;
    std::string signature;
    std::string port;
    std::string aeTitle;
    std::string studies;
};

/// One of them, where it is not set yet.
struct SetupQuestion {
    std::string SetupValues::*value;
    std::string_view option; ///< of the command that says it
    std::string words;       ///< empty: nobody is asked, as what is preset suits nearly everybody
    std::string preset;
    std::function<std::string(const std::string&)> fault; ///< why it cannot be; empty when it can
};

/// The way from an account to a workstation: entry, catalogue, site, signature, port, codes, storage service. Each step
/// looks first: what is there stays as it is, so that it goes on after a failure, and does nothing the second time.
class Setup {
public:
    /// Told of each step, and whether it was done by then.
    using Told = std::function<void(bool there, const std::string& words)>;

    /// The only source that the other programs open.
    static constexpr std::string_view DataSource = "DicomFDB";

    Setup(Database& database, ServiceStart::Places places, std::filesystem::path codes, Told told);

    /// Throws Error where the catalogue cannot be reached, or is gone and has left its studies: an empty one would hide
    /// them. The others do so too.
    void RequireNoneLost();
    /// Tells of all steps, and changes nothing. Whether all were done.
    bool Look();
    /// What a person can say, as nothing is set there. The form of the reports decides which letters a text may hold.
    std::vector<SetupQuestion> Questions(const SetupValues& given);
    /// Goes through all steps. An answer that is not needed is left alone. Throws Error, with the steps before done.
    void Run(const SetupValues& answers);
    /// The catalogue, once it can be opened.
    Connection& Catalogue();

    /// A port of this machine that nobody has, this one or one behind it. Throws Error when there is none.
    static int FreePort(int from);

private:
    bool GoThrough(const SetupValues* answers);
    bool EntryThere() const;
    bool CatalogueThere();
    bool TablesThere();
    bool InDepartment();
    bool SiteThere();
    std::string Node();
    std::string Signature();
    bool PortThere();
    bool HasCodes(const CodeKind& kind);
    bool ServiceAnswers();

    void MakeEntry();
    void MakeTables();
    void FillCodes(const CodeKind& kind);
    void StartService();
    void SetPort(int port, const std::string& aeTitle);

    Database& database_;
    ServiceStart::Places places_;
    ServiceStart service_;
    std::filesystem::path codes_;
    Told told_;
    std::string account_;
    std::unique_ptr<Connection> connection_;
};

} // namespace tavrel
