// What a program with a window costs at least: an empty one, in the editor's style and font, or one with some words:
//
//     bench_empty_window WIDTH HEIGHT [WORDS]

#include "platform/qt/Look.h"

#include <QApplication>
#include <QLabel>
#include <QWidget>

#include <cstdlib>

int main(int argumentCount, char** arguments) {
    QApplication application(argumentCount, arguments);
    tavrel::Dress(tavrel::Scheme::Light);
    QWidget window;
    if (argumentCount > 2)
        window.resize(std::atoi(arguments[1]), std::atoi(arguments[2]));
    if (argumentCount > 3)
        (new QLabel(arguments[3], &window))->move(20, 20);
    window.show();
    return QApplication::exec();
}
