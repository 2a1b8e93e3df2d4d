#include "platform/qt/QtText.h"

#include "platform/text.h"

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

namespace {

/// How long a stretch of a model's text is in a widget.
int LengthInQt(std::string_view text) {
    int length = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool ofLineEnd = text[at] == '\r' && at + 1 < text.size() && text[at + 1] == '\n';
        const bool beyondBasicPlane = static_cast<unsigned char>(text[at]) >= 0xF0;
        if (!ofLineEnd && !IsContinuation(text[at]))
            length += beyondBasicPlane ? 2 : 1;
    }
    return length;
}

} // namespace

std::vector<std::pair<int, int>> Stretches(std::string_view text, const std::vector<TextMark>& marks) {
    std::vector<std::pair<int, int>> stretches;
    std::size_t passed = 0;
    int position = 0;
    for (const auto& [offset, length, kind] : marks) {
        if (offset < passed || offset + length > text.size())
            continue;
        position += LengthInQt(text.substr(passed, offset - passed));
        const int marked = LengthInQt(text.substr(offset, length));
        if (!stretches.empty() && stretches.back().first + stretches.back().second == position)
            stretches.back().second += marked;
        else
            stretches.emplace_back(position, marked);
        position += marked;
        passed = offset + length;
    }
    return stretches;
}

} // namespace tavrel
