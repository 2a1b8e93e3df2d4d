#include "platform/qt/FormWindow.h"
#include "platform/qt/Look.h"
#include "tests/window/SampleForms.h"

#include <QApplication>
#include <QDir>

#include <iostream>

// Pictures of every window with something in it, light and dark, for whoever changes a layout:
//     preview FOLDER

namespace {

using namespace tavrel;

bool Picture(Form& form, const QString& file, QSize size = {}) {
    FormWindow window(form, DesignedLayouts().at(form.Name()));
    if (!size.isEmpty())
        window.resize(size);
    window.show();
    QCoreApplication::processEvents();
    const bool saved = window.grab().save(file);
    window.Dismiss();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    return saved;
}

bool Pictures(const QString& folder) {
    SampleReport pending, older, approved;
    older.Older();
    approved.Approve();
    SampleChooser chooser;
    SampleCodes pick, modify, maintain;
    modify.Modify();
    maintain.Maintain();
    return Picture(pending, folder + "report.png", {1280, 800}) &&
           Picture(pending, folder + "report-large.png", {1920, 1080}) &&
           Picture(pending, folder + "report-smallest.png", {1000, 620}) &&
           Picture(older, folder + "report-older.png", {1280, 800}) &&
           Picture(approved, folder + "report-approved.png", {1280, 800}) && Picture(chooser, folder + "chooser.png") &&
           Picture(pick, folder + "codes.png") && Picture(modify, folder + "codes-modify.png") &&
           Picture(maintain, folder + "codes-maintain.png");
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "preview FOLDER\n";
        return 2;
    }
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const QString folder = QString::fromLocal8Bit(argv[1]) + '/';
    QDir().mkpath(folder);
    for (const auto& [scheme, name] : {std::pair(Scheme::Light, "light-"), std::pair(Scheme::Dark, "dark-")}) {
        Dress(application, scheme);
        if (!Pictures(folder + name)) {
            std::cerr << "cannot write to " << argv[1] << '\n';
            return 1;
        }
    }
    return 0;
}
