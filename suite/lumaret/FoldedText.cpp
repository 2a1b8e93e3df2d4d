#include "suite/lumaret/FoldedText.h"

#include "platform/qt/PlainLetter.h"

#include <QList>

#include <algorithm>
#include <array>
#include <map>
#include <utility>

namespace tavrel {
namespace {

using Block = std::pair<char32_t, char32_t>;

// Latin, Greek and Cyrillic letters with accents.
constexpr std::array Accented = {Block{0xC0, 0x24F}, Block{0x370, 0x52F}, Block{0x1E00, 0x1FFF}};
constexpr Block Ascii{'A', 'z'};
constexpr Block CombiningAccents{0x300, 0x36F};
bool Within(const Block& block, char32_t letter) {
    return letter >= block.first && letter <= block.second;
}

char32_t FoldedLetter(char32_t letter) {
    const auto accented = [&] {
        return std::ranges::any_of(Accented, [&](const Block& block) { return Within(block, letter); });
    };
    while (accented() && QChar::decompositionTag(letter) == QChar::Canonical)
        letter = QChar::decomposition(letter).toUcs4().value(0);
    return WithoutStroke(QChar::toCaseFolded(letter));
}

QString Text(char32_t letter) {
    return QString::fromUcs4(&letter, 1);
}

std::map<char32_t, QString> AllSpellings() {
    std::map<char32_t, QString> spellings;
    const auto add = [&](const Block& block) {
        for (char32_t letter = block.first; letter <= block.second; ++letter)
            if (QChar::isLetter(letter))
                spellings[FoldedLetter(letter)] += Text(letter);
    };
    add(Ascii);
    for (const Block& block : Accented)
        add(block);
    return spellings;
}

} // namespace

QString Folded(const QString& text) {
    QString folded;
    for (const uint letter : text.normalized(QString::NormalizationForm_C).toUcs4())
        if (!Within(CombiningAccents, letter))
            folded += Text(FoldedLetter(letter));
    return folded;
}

QString SpellingsOf(char32_t folded) {
    static const std::map<char32_t, QString> spellings = AllSpellings();
    if (const auto found = spellings.find(folded); found != spellings.end())
        return found->second;
    QString letters = Text(folded);
    for (const char32_t other : {QChar::toUpper(folded), QChar::toLower(folded), QChar::toTitleCase(folded)})
        if (!letters.contains(Text(other)))
            letters += Text(other);
    return letters;
}

} // namespace tavrel
