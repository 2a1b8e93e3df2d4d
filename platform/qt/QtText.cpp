#include "platform/qt/QtText.h"

namespace tavrel {

QString ToQt(std::string_view text) {
    QString answer = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    answer.replace("\r\n", "\n");
    return answer.replace('\r', '\n');
}

std::string FromQt(QString text) {
    // A text document keeps its paragraphs and lines apart with these two.
    text.replace(QChar::ParagraphSeparator, '\n');
    text.replace(QChar::LineSeparator, '\n');
    return text.replace('\n', "\r\n").toStdString();
}

} // namespace tavrel
