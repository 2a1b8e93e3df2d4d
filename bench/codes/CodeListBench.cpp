// From a released key in the search box to the filled list, on a table of many codes: the manager's
// own routine against each engine's own C library reading the same rows into strings, in turns. Prints
// the ratio of the shortest times and what a row costs in memory. At most 1.6 is the aim.
//
//     bench_codes [CODES] [--benchmark_...]    100,000 codes unless given
//
// Measures every engine that has an ODBC entry DicomFDB_sqlite, DicomFDB_postgresql or
// DicomFDB_mariadb (tests/support/engines makes all three); without ODBCINI, SQLite on a file of its own.

#include "bench/codes/EngineReader.h"
#include "codes/FillCodeList.h"
#include "platform/odbc/OdbcDatabase.h"
#include "suite/catalogue/Schema.h"
#include "tests/support/SqliteEntry.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Workstation.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <map>

namespace tavrel {
namespace {

/// An engine that a catalogue may live on.
struct Candidate {
    const char* name;
    const char* entry;
    std::unique_ptr<EngineReader> (*newReader)(const std::string& entry);
};

constexpr std::array Candidates{
    Candidate{"SQLite", "DicomFDB_sqlite", NewSqliteReader},
    Candidate{"PostgreSQL", "DicomFDB_postgresql", NewPostgresqlReader},
    Candidate{"MariaDB", "DicomFDB_mariadb", NewMariadbReader},
};

/// What stands in the search box, and the statement that reads the same rows.
struct Keystroke {
    const char* name;
    const char* filter;
    const char* statement;
};

constexpr std::array Keystrokes{
    Keystroke{"whole table", "", "SELECT CodeScheme, CodeValue, CodeMeaning FROM StdFinding ORDER BY CodeMeaning"},
    Keystroke{"LEFT LUNG", "LEFT LUNG",
              "SELECT CodeScheme, CodeValue, CodeMeaning FROM StdFinding WHERE Upper(StdFinding.CodeMeaning) "
              "Like '%LEFT LUNG%' ORDER BY CodeMeaning"},
};

std::string Meaning(int number, int codes) {
    constexpr std::array states{"Healed fracture", "Simple cyst", "Calcified nodule", "Focal opacity", "Effusion"};
    constexpr std::array places{"right lung", "left lung", "liver", "left kidney", "right kidney", "spleen", "pelvis"};
    const auto index = static_cast<std::size_t>(number);
    std::string meaning = states[index % states.size()];
    meaning.append(" of the ").append(places[index / states.size() % places.size()]);
    return meaning.append(", segment ").append(std::to_string(number * 7919LL % codes));
}

constexpr int FirstCode = 100'000; ///< codes are equally long

void FillTable(Connection& catalogue, int codes) {
    CreateSchema(catalogue, DetectEngine(catalogue));
    catalogue.BeginTransaction();
    catalogue.OpenResultSet("DELETE FROM StdFinding");
    constexpr int rowsAtOnce = 500;
    for (int first = 0; first < codes; first += rowsAtOnce) {
        std::string statement = "INSERT INTO StdFinding (CodeScheme, CodeValue, CodeMeaning) VALUES ";
        for (int number = first; number < std::min(first + rowsAtOnce, codes); ++number) {
            statement.append(number == first ? "" : ", ").append("('99SS', 'F-");
            statement.append(std::to_string(FirstCode + number)).append("', '");
            statement.append(Meaning(number, codes)).append("')");
        }
        catalogue.OpenResultSet(statement);
    }
    catalogue.Commit();
}

/// Bytes that the program has from the heap.
double HeapInUse() {
    const auto heap = mallinfo2();
    return static_cast<double>(heap.uordblks + heap.hblkhd);
}

/// One engine's table of codes, to be read in both ways. Each reads once untimed: of the keys of a
/// search all but the first come to a filled list.
class Subject {
public:
    Subject(const Candidate& candidate, int codes) : reader_(candidate.newReader(candidate.entry)) {
        auto& catalogue = workstation_.global.catalogue;
        catalogue = OdbcDatabase().NewConnection();
        catalogue->Open(std::string("DSN=") + candidate.entry);
        FillTable(*catalogue, codes);
    }

    void ReadWithLibrary(benchmark::State& state, const Keystroke& key) {
        const double before = HeapInUse();
        std::vector<CodeRow> rows;
        reader_->Read(key.statement, rows);
        for ([[maybe_unused]] auto turn : state)
            reader_->Read(key.statement, rows);
        Count(state, static_cast<double>(rows.size()), HeapInUse() - before);
    }

    void ReadWithManager(benchmark::State& state, const Keystroke& key) {
        const double before = HeapInUse();
        ListView list(window_, "lstTable", {"Code", "Description"});
        FillCodeList(workstation_.global, list, "StdFinding", key.filter);
        for ([[maybe_unused]] auto turn : state)
            FillCodeList(workstation_.global, list, "StdFinding", key.filter);
        Count(state, static_cast<double>(list.Items().size()), HeapInUse() - before);
    }

private:
    class Window : public Form {
    public:
        Window() : Form("bench") {}
        void FrameClosed() override {}
    };

    static void Count(benchmark::State& state, double rows, double bytes) {
        state.counters["rows"] = rows;
        state.counters["bytes_per_row"] = bytes / std::max(rows, 1.0);
    }

    test::Workstation workstation_;
    std::unique_ptr<EngineReader> reader_;
    Window window_;
};

struct Result {
    double milliseconds = 0;
    double rows = 0;
    double bytesPerRow = 0;
};

/// Keeps each benchmark's shortest run: what else the machine did only adds to a time.
class ShortestRuns : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration)
                continue;
            const Result result{run.GetAdjustedRealTime(), run.counters.at("rows"), run.counters.at("bytes_per_row")};
            const auto known = shortest_.try_emplace(run.run_name.function_name, result).first;
            if (result.milliseconds < known->second.milliseconds)
                known->second = result;
        }
    }
    Result Of(const std::string& benchmark) const {
        const auto found = shortest_.find(benchmark);
        return found == shortest_.end() ? Result{} : found->second;
    }

private:
    std::map<std::string, Result> shortest_;
};

std::string BenchmarkName(const Candidate& candidate, const Keystroke& key, std::string_view reader) {
    return std::string(candidate.name).append(", ").append(key.name).append(", ").append(reader);
}

void Register(const Candidate& candidate, const Keystroke& key, Subject& subject) {
    const auto add = [&](std::string_view reader, void (Subject::*read)(benchmark::State&, const Keystroke&)) {
        benchmark::RegisterBenchmark(BenchmarkName(candidate, key, reader).c_str(),
                                     [&subject, &key, read](benchmark::State& state) { (subject.*read)(state, key); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime()
            ->Iterations(2)
            ->Repetitions(20);
    };
    add("C library", &Subject::ReadWithLibrary);
    add("manager", &Subject::ReadWithManager);
}

void PrintRatios(const ShortestRuns& runs) {
    std::printf("%-11s %-12s %7s %10s %10s %6s %11s %11s\n", "engine", "search", "rows", "C library", "manager",
                "ratio", "bytes a row", "(C library)");
    for (const Candidate& candidate : Candidates)
        for (const Keystroke& key : Keystrokes) {
            const Result library = runs.Of(BenchmarkName(candidate, key, "C library"));
            const Result manager = runs.Of(BenchmarkName(candidate, key, "manager"));
            if (library.rows == manager.rows && library.rows > 0)
                std::printf("%-11s %-12s %7.0f %7.1f ms %7.1f ms %6.2f %11.0f %11.0f\n", candidate.name, key.name,
                            manager.rows, library.milliseconds, manager.milliseconds,
                            manager.milliseconds / library.milliseconds, manager.bytesPerRow, library.bytesPerRow);
        }
}

/// A folder of this run's own with an entry for a SQLite file in it.
class OwnEntry {
public:
    OwnEntry() { UseSqliteEntry(folder_.Path(), "DicomFDB_sqlite"); }

private:
    TemporaryFolder folder_;
};

void Measure(std::vector<char*> arguments) {
    const auto own = std::getenv("ODBCINI") ? nullptr : std::make_unique<OwnEntry>();
    std::string inTurns = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, inTurns.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    const int codes = count > 1 ? std::stoi(arguments[1]) : 100'000;

    std::vector<std::unique_ptr<Subject>> subjects;
    for (const Candidate& candidate : Candidates) {
        if (EntryValue(candidate.entry, "Driver").empty())
            continue;
        subjects.push_back(std::make_unique<Subject>(candidate, codes));
        for (const Keystroke& key : Keystrokes)
            Register(candidate, key, *subjects.back());
    }
    ShortestRuns runs;
    benchmark::RunSpecifiedBenchmarks(&runs);
    PrintRatios(runs);
}

} // namespace
} // namespace tavrel

int main(int argc, char** argv) {
    try {
        tavrel::Measure({argv, argv + argc});
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
