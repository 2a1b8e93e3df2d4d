// What a key costs that is typed into a reading of a page's length: the editor's box, with all that it tells while
// one types, against the toolkit's bare box, in turns.
//
//     bench_keystroke CHARACTERS KEYS TIMES

#include "bench/report/Measurement.h"
#include "bench/report/Program.h"
#include "platform/qt/FormBinder.h"
#include "platform/qt/Layouts.h"
#include "tests/editor/ReportingStation.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPlainTextEdit>

#include <stdexcept>

namespace tavrel {
namespace {

/// Lines of a physician's length.
QString Text(int characters) {
    QString text;
    while (text.size() < characters)
        text += text.size() % 80 == 79 ? QLatin1Char('\n') : QLatin1Char('a');
    return text;
}

/// Types at the end of the text, and draws what each key has changed.
void Type(QPlainTextEdit& box, int keys, std::string_view name) {
    box.moveCursor(QTextCursor::End);
    QApplication::processEvents();
    const Measurement measurement;
    for (int key = 0; key < keys; ++key) {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_X, Qt::NoModifier, "x");
        QKeyEvent release(QEvent::KeyRelease, Qt::Key_X, Qt::NoModifier, "x");
        QApplication::sendEvent(&box, &press);
        QApplication::sendEvent(&box, &release);
        QApplication::processEvents();
    }
    measurement.Print(name);
}

void TypeInTurns(int characters, int keys, int times) {
    test::ReportingStation station;
    station.OpenReport();
    QWidget window;
    DesignedLayouts().at("frmReport")(window);
    const FormBinder binder(station.editor, window);
    window.show();
    auto* reading = window.findChild<QPlainTextEdit*>("txtReportAnnotation");
    if (!reading)
        throw std::runtime_error("the editor has no box for the reading");
    QPlainTextEdit bare;
    bare.resize(reading->size());
    bare.setFont(reading->font());
    bare.show();
    for (int turn = 0; turn < times; ++turn) {
        station.editor.txtReportAnnotation.Text(Text(characters).toStdString());
        Type(*reading, keys, "tavrel");
        if (!station.editor.txtReportAnnotation.Text().ends_with("x"))
            throw std::runtime_error("the editor took no key");
        bare.setPlainText(Text(characters));
        Type(bare, keys, "toolkit");
    }
    RequireSilence(station.windows);
}

} // namespace
} // namespace tavrel

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int none = 1;
    const QApplication application(none, argv);
    return tavrel::RunProgram(argc, argv, "bench_keystroke CHARACTERS KEYS TIMES", [](tavrel::Arguments arguments) {
        tavrel::TypeInTurns(std::stoi(arguments[0]), std::stoi(arguments[1]), std::stoi(arguments[2]));
    });
}
