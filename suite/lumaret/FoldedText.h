#pragma once

#include <QString>

namespace tavrel {

/// A text as a search compares it: in small letters, those of the Latin, Greek and Cyrillic alphabets without their
/// accents and strokes. "Müller" is "muller" and "Łódź" "lodz"; other scripts, in which a mark makes another letter or
/// a vowel, stay as they are.
QString Folded(const QString& text);

/// Every letter that folds to this folded one, itself among them; the character alone when it is no letter.
QString SpellingsOf(char32_t folded);

} // namespace tavrel
