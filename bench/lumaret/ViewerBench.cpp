// How fast an image is on the screen: a series of 500 slices of 512 x 512 pixels with 16 bits in 500
// files, against the bare decoding of the same files by the toolkit. `memory` is what the process
// holds after the run, in MB, and `growth` what it holds more than after its first 100 slices.

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
#include <vector>

namespace tavrel::test {
namespace {

constexpr int Slices = 500;

/// The series in its files and in a catalogue.
class Series {
public:
    Series() {
        QDir(folder_.path()).mkpath("SER1");
        rows_.AddPatient("P1", "ROSSI^MARIA");
        rows_.AddStudy("1.2.3", "P1", "20261114", folder_.path());
        rows_.AddSeries("1.2.3.1", "1.2.3", "CT");
        for (int i = 1; i <= Slices; ++i) {
            const QString name = QString::number(i) + ".dcm";
            files += folder_.filePath("SER1/" + name);
            WriteImage(files.last(), {.columns = 512, .rows = 512, .instance = i, .center = 4000, .width = 8000});
            rows_.AddImage("1.2.3.1", name, i);
        }
    }

    QStringList files;

private:
    QTemporaryDir folder_;
    CatalogueRows rows_{SqliteEntry()};
};

Series& TheSeries() {
    static Series series;
    return series;
}

/// Memory of the process that is its own and in use, in MB.
double OwnMemory() {
    std::ifstream file("/proc/self/statm");
    long all = 0, resident = 0, shared = 0;
    file >> all >> resident >> shared;
    return static_cast<double>((resident - shared) * sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

void BareDecode(benchmark::State& state) {
    const QStringList& files = TheSeries().files;
    std::vector<unsigned char> pixels(512 * 512);
    qsizetype slice = 0;
    for (auto _ : state) {
        DicomImage image(files[slice++ % Slices].toLocal8Bit().constData());
        image.setWindow(4000, 8000);
        image.getOutputData(pixels.data(), pixels.size(), 8);
        benchmark::DoNotOptimize(pixels.data());
    }
}

/// From the turn of the wheel to the drawn window.
void SliceChange(benchmark::State& state) {
    const QStringList& files = TheSeries().files;
    ImageView view;
    view.resize(static_cast<int>(state.range(0)), static_cast<int>(state.range(0)));
    view.show();
    QCoreApplication::processEvents(); // a window is drawn once it is exposed
    qsizetype slice = 0;
    const auto next = [&] {
        view.Open(files[slice++ % Slices], 0, true);
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
    TheSeries();
    OdbcDatabase database;
    StudyCatalogue catalogue(database);
    TavrelClient client(QDBusConnection("none"));
    ViewerService service;
    MainWindow window(catalogue, client, service);
    window.resize(1280, 800);
    window.show();
    window.Start();
    QTableWidget* studies = nullptr;
    for (auto* table : window.findChildren<QTableWidget*>())
        if (table->accessibleName() == "Studies")
            studies = table;
    for (auto _ : state) {
        studies->clearSelection();
        studies->selectRow(0);
        QCoreApplication::processEvents();
    }
}

BENCHMARK(BareDecode)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(SliceChange)->Arg(512)->Arg(1000)->Unit(benchmark::kMillisecond)->MinTime(3)->UseRealTime();
BENCHMARK(FirstImage)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace tavrel::test

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    tavrel::ImageFile::RegisterDecoders();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
