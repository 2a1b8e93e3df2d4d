#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tavrel {

// Delimited text: one record a line, fields between commas; strings in double quotes (a double quote
// inside is written twice), numbers in decimal with a point, booleans #TRUE# and #FALSE#, nothing
// #NULL#. Every value written is read back as it was, to the last bit.

/// Writes records field by field.
class DelimitedWriter {
public:
    void Field(const std::string& value);
    void Field(bool value);
    void Field(std::int16_t value);
    void Field(std::int32_t value);
    /// An infinite value, or one that is no number, is an `Error`.
    void Field(float value);
    void NullField();
    void EndLine();

    const std::string& Text() const { return text_; }

private:
    void Append(std::string_view field);

    std::string text_;
    bool atLineStart_ = true;
};

/// Reads records field by field; blanks around a field and a bare line feed at a line's end are let
/// pass. Anything else that is not as asked for is an `Error` that names the line and the field.
class DelimitedReader {
public:
    /// `name` stands for the text in errors. `text` must outlive the reader.
    DelimitedReader(std::string_view text, std::string_view name) : text_(text), name_(name) {}

    bool AtEnd() const { return position_ == text_.size(); }

    void Field(std::string& value);
    void Field(bool& value);
    void Field(std::int16_t& value);
    void Field(std::int32_t& value);
    void Field(float& value);
    /// Passes over a field, whatever it holds.
    void NullField();
    /// Goes on to the next line; an error when this one holds a further field.
    void EndLine();

private:
    struct Token {
        std::string text;
        bool quoted = false;
    };
    Token Next();
    Token Bare(std::string_view wanted);
    std::string QuotedText();
    template <typename Number> void ReadNumber(Number& value, std::string_view wanted);
    void SkipBlanks();
    bool AtFieldEnd() const;
    [[noreturn]] void Fail(const std::string& reason) const;

    std::string_view text_;
    std::string name_;
    std::size_t position_ = 0;
    int line_ = 1;
    int field_ = 0; ///< the field read last in this line, from 1
};

} // namespace tavrel
