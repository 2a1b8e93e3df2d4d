// What a program with a window costs at least: an empty one of the editor's size, in its style and font, or one with
// the words of its argument.

#include "platform/qt/Look.h"

#include <QApplication>
#include <QLabel>
#include <QWidget>

int main(int argumentCount, char** arguments) {
    QApplication application(argumentCount, arguments);
    tavrel::Dress(tavrel::Scheme::Light);
    QWidget window;
    window.setGeometry(100, 100, 1240, 740);
    if (argumentCount > 1)
        (new QLabel(arguments[1], &window))->move(20, 20);
    window.show();
    return QApplication::exec();
}
