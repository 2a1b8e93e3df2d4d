#include "platform/odbc/SingleStatement.h"

#include "platform/odbc/OdbcError.h"
#include "platform/text.h"

#include <cstddef>

namespace tavrel {

namespace {

constexpr auto Npos = std::string_view::npos;

bool IsLetter(char c) {
    return IsLower(c) || IsUpper(c) || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

/// Walks over a statement's text, one token a step.
class Scanner {
public:
    explicit Scanner(std::string_view text) : text_(text) {}

    bool AtEnd() const { return position_ >= text_.size(); }

    /// The first character of the token passed; a blank for a comment.
    char Next() {
        const char first = text_[position_];
        const std::string_view rest = text_.substr(position_);
        if (rest.starts_with("--")) {
            SkipTo(text_.find_first_of("\r\n", position_), 1);
            return ' ';
        }
        if (rest.starts_with("/*")) {
            SkipComment();
            return ' ';
        }
        const bool opensEscaped = (first == 'E' || first == 'e') && rest.substr(1).starts_with('\'');
        // A literal that follows an E'' literal, blanks between them, is its continuation.
        inEscaped_ = opensEscaped || (inEscaped_ && (first == '\'' || IsBlank(first)));
        if (opensEscaped)
            ++position_;
        if (opensEscaped || first == '\'' || first == '"')
            SkipQuoted();
        else if (first == '$')
            SkipDollarQuoted();
        else if (IsLetter(first) || IsDigit(first))
            SkipWord();
        else
            ++position_;
        return first;
    }

private:
    void SkipTo(std::size_t found, std::size_t width) { position_ = found == Npos ? text_.size() : found + width; }

    void SkipQuoted() {
        const char quote = text_[position_];
        for (++position_; !AtEnd(); ++position_) {
            if (inEscaped_ && text_[position_] == '\\')
                ++position_;
            else if (text_[position_] == quote && !text_.substr(++position_).starts_with(quote))
                return;
        }
    }

    void SkipComment() {
        int depth = 0;
        do {
            const std::string_view rest = text_.substr(position_);
            const int change = rest.starts_with("/*") ? 1 : rest.starts_with("*/") ? -1 : 0;
            depth += change;
            position_ += change == 0 ? 1 : 2;
        } while (depth > 0 && !AtEnd());
    }

    void SkipDollarQuoted() {
        std::size_t end = position_ + 1;
        while (end < text_.size() && (IsLetter(text_[end]) || (IsDigit(text_[end]) && end > position_ + 1)))
            ++end;
        if (end >= text_.size() || text_[end] != '$') {
            ++position_;
            return;
        }
        const std::string_view tag = text_.substr(position_, end + 1 - position_);
        SkipTo(text_.find(tag, end + 1), tag.size());
    }

    void SkipWord() {
        while (!AtEnd() && (IsLetter(text_[position_]) || IsDigit(text_[position_]) || text_[position_] == '$'))
            ++position_;
    }

    std::string_view text_;
    std::size_t position_ = 0;
    bool inEscaped_ = false;
};

} // namespace

void RequireSingleStatement(std::string_view text) {
    if (text.find('\0') != Npos)
        throw OdbcError(OdbcFailure::SecondStatement, "A statement that holds a NUL character was refused.");
    bool ended = false;
    for (Scanner scanner(text); !scanner.AtEnd();) {
        const char token = scanner.Next();
        if (token == ';')
            ended = true;
        else if (ended && !IsBlank(token))
            throw OdbcError(OdbcFailure::SecondStatement,
                            "Only one statement a call: text after the end of the statement was refused.");
    }
}

} // namespace tavrel
