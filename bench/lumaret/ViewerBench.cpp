// How fast an image is on the screen: a series of slices of 512 x 512 pixels with 16 bits, each in its
// file, against the bare decoding of the same files by the toolkit. `memory` is what the process
// holds after the run, in MB, and `growth` what it holds more than after its first 100 slices.
//
//     bench_lumaret [SLICES] [--benchmark_...]    500 slices unless given

#include "suite/lumaret/MainWindow.h"
#include "tests/suite/lumaret/CatalogueRows.h"
#include "tests/suite/lumaret/SampleImage.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmimgle/dcmimage.h>

#include <QApplication>
#include <QDir>
#include <QTableWidget>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

namespace tavrel::test {
namespace {

/// The series in its files and in a catalogue.
class Series {
public:
    explicit Series(int slices) {
        QDir(folder_.path()).mkpath("SER1");
        rows_.AddPatient("P1", "ROSSI^MARIA");
        rows_.AddStudy("1.2.3", "P1", "20261114", folder_.path());
        rows_.AddSeries("1.2.3.1", "1.2.3", "CT");
        for (int i = 1; i <= slices; ++i) {
            const QString name = QString::number(i) + ".dcm";
            files_ += folder_.filePath("SER1/" + name);
            WriteImage(files_.last(), {.columns = 512, .rows = 512, .instance = i, .center = 4000, .width = 8000});
            rows_.AddImage("1.2.3.1", name, i);
        }
    }

    const QString& File(qsizetype slice) const { return files_[slice % files_.size()]; }

private:
    QStringList files_;
    QTemporaryDir folder_;
    CatalogueRows rows_{OwnSqliteEntry()};
};

/// Memory of the process that is its own and in use, in MB.
double OwnMemory() {
    std::ifstream file("/proc/self/statm");
    long all = 0, resident = 0, shared = 0;
    file >> all >> resident >> shared;
    return static_cast<double>((resident - shared) * sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

void BareDecode(benchmark::State& state, const Series& series) {
    std::vector<unsigned char> pixels(std::size_t{512} * 512);
    qsizetype slice = 0;
    for (auto _ : state) {
        DicomImage image(series.File(slice++).toLocal8Bit().constData());
        image.setWindow(4000, 8000);
        image.getOutputData(pixels.data(), pixels.size(), 8);
        benchmark::DoNotOptimize(pixels.data());
    }
}

/// From the turn of the wheel to the drawn window.
void SliceChange(benchmark::State& state, const Series& series) {
    ImageView view;
    view.resize(static_cast<int>(state.range(0)), static_cast<int>(state.range(0)));
    view.show();
    QCoreApplication::processEvents(); // a window is drawn once it is exposed
    qsizetype slice = 0;
    const auto next = [&] {
        view.Open(series.File(slice++), 0, true);
        view.repaint();
    };
    for (int i = 0; i < 100; ++i)
        next();
    const double before = OwnMemory();
    for (auto _ : state)
        next();
    state.counters["memory"] = OwnMemory();
    state.counters["growth"] = OwnMemory() - before;
}

/// From the click on a study to its first image in the drawn window, through the catalogue.
void FirstImage(benchmark::State& state) {
    CatalogueQuestions catalogue(std::make_shared<OdbcDatabase>());
    TavrelClient client(QDBusConnection("none"));
    ViewerService service;
    MainWindow window(catalogue, client, service);
    window.resize(1280, 800);
    window.show();
    window.Start();
    auto* image = window.findChild<ImageView*>();
    while (!catalogue.Idle())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QTableWidget* studies = nullptr;
    for (auto* table : window.findChildren<QTableWidget*>())
        if (table->accessibleName() == "Studies")
            studies = table;
    for (auto _ : state) {
        studies->clearSelection();
        studies->selectRow(0);
        while (!image->HasImage())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::processEvents();
    }
}

void Run(int slices) {
    const Series series(slices);
    const auto add = [](const char* name, auto measured) {
        return benchmark::RegisterBenchmark(name, measured)->Unit(benchmark::kMillisecond)->UseRealTime();
    };
    add("BareDecode", [&](benchmark::State& state) { BareDecode(state, series); });
    add("SliceChange", [&](benchmark::State& state) { SliceChange(state, series); })->Arg(512)->Arg(1000);
    add("FirstImage", FirstImage);
    benchmark::RunSpecifiedBenchmarks();
}

} // namespace
} // namespace tavrel::test

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    tavrel::ImageFile::RegisterDecoders();
    benchmark::Initialize(&argc, argv);
    tavrel::test::Run(argc > 1 ? std::stoi(argv[1]) : 500);
    return 0;
}
