#include "editor/DelimitedText.h"

#include "platform/error.h"
#include "platform/text.h"

#include <array>
#include <charconv>
#include <cmath>

namespace tavrel {
namespace {

template <typename Number, typename... Format> std::string Decimal(Number value, Format... format) {
    std::array<char, 128> digits{}; // the longest float without an exponent takes 49
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, format...).ptr;
    return {digits.data(), end};
}

} // namespace

void DelimitedWriter::Append(std::string_view field) {
    if (!atLineStart_)
        text_ += ',';
    atLineStart_ = false;
    text_ += field;
}

void DelimitedWriter::Field(const std::string& value) {
    std::string quoted = "\"";
    for (const char character : value) {
        if (character == '"')
            quoted += '"';
        quoted += character;
    }
    Append(quoted + '"');
}

void DelimitedWriter::Field(bool value) {
    Append(value ? "#TRUE#" : "#FALSE#");
}
void DelimitedWriter::Field(std::int16_t value) {
    Append(Decimal(value));
}
void DelimitedWriter::Field(std::int32_t value) {
    Append(Decimal(value));
}

void DelimitedWriter::Field(float value) {
    if (!std::isfinite(value))
        throw Error(Fault::TypeMismatch, "DelimitedText", "A value is infinite or no number and cannot be written");
    Append(Decimal(value, std::chars_format::fixed));
}

void DelimitedWriter::NullField() {
    Append("#NULL#");
}

void DelimitedWriter::EndLine() {
    text_ += "\r\n";
    atLineStart_ = true;
}

void DelimitedReader::Fail(const std::string& reason) const {
    throw Error(Fault::TypeMismatch, "DelimitedText",
                name_ + ", line " + std::to_string(line_) + ", field " + std::to_string(field_) + ": " + reason);
}

bool DelimitedReader::AtFieldEnd() const {
    return AtEnd() || text_[position_] == ',' || text_[position_] == '\r' || text_[position_] == '\n';
}

void DelimitedReader::SkipBlanks() {
    while (!AtEnd() && (text_[position_] == ' ' || text_[position_] == '\t'))
        ++position_;
}

DelimitedReader::Token DelimitedReader::Next() {
    if (++field_ > 1) {
        if (AtEnd() || text_[position_] != ',')
            Fail("the line ends before it");
        ++position_;
    }
    SkipBlanks();
    Token token;
    if (!AtEnd() && text_[position_] == '"') {
        token = {QuotedText(), true};
        SkipBlanks();
        if (!AtFieldEnd())
            Fail("there is more after the closing quote");
    } else {
        const auto start = position_;
        while (!AtFieldEnd())
            ++position_;
        token.text = TrimmedRight(text_.substr(start, position_ - start), " \t");
    }
    return token;
}

std::string DelimitedReader::QuotedText() {
    std::string value;
    for (;;) {
        const auto start = position_ + 1;
        position_ = text_.find('"', start);
        if (position_ == std::string_view::npos)
            Fail("the closing quote is missing");
        value += text_.substr(start, position_ - start);
        ++position_;
        if (AtEnd() || text_[position_] != '"')
            return value;
        value += '"';
    }
}

DelimitedReader::Token DelimitedReader::Bare(std::string_view wanted) {
    auto token = Next();
    if (token.quoted)
        Fail("a text where " + std::string(wanted) + " is expected");
    return token;
}

void DelimitedReader::Field(std::string& value) {
    auto token = Next();
    if (!token.quoted)
        Fail("\"" + token.text + "\" where a text in quotes is expected");
    value = std::move(token.text);
}

void DelimitedReader::Field(bool& value) {
    constexpr std::string_view wanted = "#TRUE# or #FALSE#";
    const auto token = Bare(wanted);
    value = token.text == "#TRUE#";
    if (!value && token.text != "#FALSE#")
        Fail("\"" + token.text + "\" where " + std::string(wanted) + " is expected");
}

template <typename Number> void DelimitedReader::ReadNumber(Number& value, std::string_view wanted) {
    const auto token = Bare(wanted);
    const auto end = token.text.data() + token.text.size();
    const auto read = std::from_chars(token.text.data(), end, value);
    if (read.ec != std::errc() || read.ptr != end)
        Fail("\"" + token.text + "\" where " + std::string(wanted) + " is expected");
}

void DelimitedReader::Field(std::int16_t& value) {
    ReadNumber(value, "a whole number from -32768 to 32767");
}
void DelimitedReader::Field(std::int32_t& value) {
    ReadNumber(value, "a whole number of 32 bits");
}

void DelimitedReader::Field(float& value) {
    ReadNumber(value, "a number");
    if (!std::isfinite(value))
        Fail("infinite or no number");
}

void DelimitedReader::NullField() {
    Next();
}

void DelimitedReader::EndLine() {
    if (!AtEnd() && text_[position_] == ',') {
        ++field_;
        Fail("there is one field too many");
    }
    if (!AtEnd() && text_[position_] == '\r')
        ++position_;
    if (!AtEnd() && text_[position_] == '\n')
        ++position_;
    ++line_;
    field_ = 0;
}

} // namespace tavrel
