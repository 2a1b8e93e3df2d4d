#include "host/PlainForm.h"
#include "tests/support/Workstation.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

struct Changed {
    const char* name;
    std::string_view before;
    std::string_view after;
    friend void PrintTo(const Changed& changed, std::ostream* out) { *out << changed.name; }
};

class PlainForms : public testing::Test {
protected:
    std::vector<LostCharacter> Lost(std::string_view text) const {
        return station_.global.ports.dicom.FindUnwritable(text, "ISO_IR 100");
    }
    std::string Plainly(std::string_view text) const { return WrittenPlainly(text, Lost(text)); }

    test::Workstation station_;
};

class PlainFormsOf : public PlainForms, public testing::WithParamInterface<Changed> {};

TEST_P(PlainFormsOf, SayTheSame) {
    EXPECT_EQ(Plainly(GetParam().before), GetParam().after);
}

INSTANTIATE_TEST_SUITE_P(
    , PlainFormsOf,
    testing::Values(
        Changed{"Greek", "α-blocker, Δ, 5 μm", "alpha-blocker, Delta, 5 µm"},
        Changed{"LookAlikes", "\u2126 \u03A9 \u2206 \u2212", "Ohm Omega Delta -"},
        Changed{"Letters", "Łódź, Erdős, Erdoğan, Ștefan, Nguyễn", "Lódz, Erdos, Erdogan, Stefan, Nguyen"},
        Changed{"Ligatures", "Œuvre, ﬁne", "OEuvre, fine"}, Changed{"RaisedDigits", "10⁴", "10^4"},
        Changed{"RaisedNumbers", "10⁻¹⁰ and 10⁻⁴⁵", "10^-¹^0 and 10^-45"},
        Changed{"LoweredDigits", "CO₂, H₂O, x₁₂, log2₁₀", "CO2, H2O, x12, log2_10"},
        Changed{"Relations", "≥ ≤ ≧ ≦ ⩾ ⩽ ≠ ≈ ≅ ≃ ∼ ≪ ≫", ">= <= >= <= >= <= <> ~ ~ ~ ~ << >>"},
        Changed{"Operators", "∗ ∕ ∙ ⋅ ∓", "* / · · -/+"}, Changed{"Arrows", "→ ← ↔ ⇒ ⇔ ⟶ ⟵", "-> <- <-> => <=> -> <-"},
        Changed{"Signs", "∞ √ ∑ \u2206 ⌀ ∅ ℃ ℉ \u2126 ℓ №", "infinity sqrt sum Delta Ø Ø °C °F Ohm l No."},
        Changed{"Marks", "‰ € ™ † ˆ ˜ ■ □ ○ ．", " per mille EUR (TM) + ^ ~ - - - ."},
        Changed{"SmallGreekLetters", "μ α β γ δ ε ϵ ζ η θ ϑ ι κ λ ν ξ ο π ρ σ ς τ υ φ ϕ χ ψ ω",
                "µ alpha beta gamma delta epsilon epsilon zeta eta theta theta iota kappa lambda nu xi omicron pi rho "
                "sigma sigma tau upsilon phi phi chi psi omega"},
        Changed{"GreekCapitals", "Α Β Γ Δ Ε Ζ Η Θ Ι Κ Λ Μ Ν Ξ Ο Π Ρ Σ Τ Υ Φ Χ Ψ Ω",
                "Alpha Beta Gamma Delta Epsilon Zeta Eta Theta Iota Kappa Lambda Mu Nu Xi Omicron Pi Rho Sigma Tau "
                "Upsilon Phi Chi Psi Omega"},
        Changed{"DoubledLetters", "Ĳ ĳ Œ œ ŉ Ǆ ǅ ǆ Ǉ ǈ ǉ Ǌ ǋ ǌ Ǽ ǽ Ǿ ǿ ẞ",
                "IJ ij OE oe 'n DZ Dz dz LJ Lj lj NJ Nj nj Æ æ Ø ø SS"},
        Changed{"AllRaised", "⁰ ⁴ ⁵ ⁶ ⁷ ⁸ ⁹ ⁺ ⁻ ⁿ", "^0 ^4 ^5 ^6 ^7 ^8 ^9 ^+ ^- ^n"},
        Changed{"AllLowered", "₀ x ₁ x ₂ x ₃ x ₄ x ₅ x ₆ x ₇ x ₈ x ₉", "0 x 1 x 2 x 3 x 4 x 5 x 6 x 7 x 8 x 9"},
        Changed{"AllFractions", "⅓ of ⅔ of ⅕ of ⅖ of ⅗ of ⅘ of ⅙ of ⅚ of ⅛ of ⅜ of ⅝ of ⅞",
                "1/3 of 2/3 of 1/5 of 2/5 of 3/5 of 4/5 of 1/6 of 5/6 of 1/8 of 3/8 of 5/8 of 7/8"},
        Changed{"RomanNumbers", "Ⅰ Ⅱ Ⅲ Ⅳ Ⅴ Ⅵ Ⅶ Ⅷ Ⅸ Ⅹ Ⅺ Ⅻ", "I II III IV V VI VII VIII IX X XI XII"},
        Changed{"Fractions", "⅓, 2⅓", "1/3, 2 1/3"}, Changed{"FullWidth", "ＣＴ：１", "CT:1"},
        Changed{"LettersWithLooseMarks", "o\u030B q\u0308\u0301 \u03B1\u0301 ÿ\u030B À\u030B", "o q alpha ÿ À"},
        Changed{"ControlCharacters", "a\vb\ac", "a bc"}, Changed{"NothingLost", "é ² µ", "é ² µ"}),
    testing::PrintToStringParamName());

TEST_F(PlainForms, LeaveWhatHasNone) {
    EXPECT_EQ(Plainly("山 ≥ \U0001F9E0 Жук Ǝ"), "山 >= \U0001F9E0 Жук Ǝ");
}

TEST_F(PlainForms, KeepAStrokeThatChangesTheMeaning) {
    EXPECT_EQ(Plainly("a >\u0338 b"), "a >\u0338 b");
    EXPECT_EQ(Plainly("a <\u0338 b"), "a <\u0338 b");
}

/// A character of the basic plane in UTF-8.
std::string Character(std::uint32_t code) {
    const auto last = static_cast<char>(0x80U | (code & 0x3FU));
    if (code < 0x800)
        return {static_cast<char>(0xC0U | code >> 6), last};
    return {static_cast<char>(0xE0U | code >> 12), static_cast<char>(0x80U | (code >> 6 & 0x3FU)), last};
}

TEST_F(PlainForms, CanAllBeWritten) {
    int forms = 0;
    for (std::uint32_t code = 0x80; code < 0x10000; ++code) {
        const auto character = Character(code);
        for (const auto& lost : Lost(character)) {
            const auto form = PlainForm(character, lost);
            forms += form ? 1 : 0;
            EXPECT_TRUE(!form || Lost(*form).empty()) << std::hex << code << " as " << *form;
        }
    }
    EXPECT_GT(forms, 600);
}

} // namespace
} // namespace tavrel
