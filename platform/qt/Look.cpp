#include "platform/qt/Look.h"

#include <QApplication>
#include <QFont>
#include <QPalette>
#include <QStyleFactory>

#include <array>

namespace tavrel {
namespace {

/// The colours of a scheme, as "#rrggbb".
struct Colours {
    const char* window;
    const char* card;   ///< the face of a frame
    const char* field;  ///< where one types
    const char* locked; ///< where one does not
    const char* stripe; ///< every second row
    const char* button;
    const char* line;
    const char* text;
    const char* faint; ///< captions
    const char* off;   ///< what is disabled
    const char* accent;
    const char* onAccent;
    const char* attention;
    const char* onAttention;
    const char* settled;
    const char* onSettled;
    const char* veil;
};

constexpr Colours Light{
    .window = "#eef1f4",
    .card = "#ffffff",
    .field = "#ffffff",
    .locked = "#eff1f3",
    .stripe = "#f6f8fa",
    .button = "#f7f8fa",
    .line = "#cfd6dc",
    .text = "#1b2229",
    .faint = "#56626d",
    .off = "#5f6a74",
    .accent = "#1c679f",
    .onAccent = "#ffffff",
    .attention = "#fdf0cf",
    .onAttention = "#5b4100",
    .settled = "#dcefe2",
    .onSettled = "#17492a",
    .veil = "rgba(238, 241, 244, 190)",
};

constexpr Colours Dark{
    .window = "#1c2024",
    .card = "#262b30",
    .field = "#1a1e22",
    .locked = "#2d3339",
    .stripe = "#1f2429",
    .button = "#343b42",
    .line = "#424a52",
    .text = "#e3e7eb",
    .faint = "#a3aeb8",
    .off = "#98a2ac",
    .accent = "#4c9bd8",
    .onAccent = "#0d1317",
    .attention = "#4a3a12",
    .onAttention = "#f6dfa3",
    .settled = "#1d4029",
    .onSettled = "#bfe6cb",
    .veil = "rgba(28, 32, 36, 190)",
};

QPalette PaletteOf(const Colours& colours) {
    QPalette palette(QColor(colours.button), QColor(colours.window));
    const std::array<std::pair<QPalette::ColorRole, const char*>, 12> roles{{
        {QPalette::Window, colours.window},
        {QPalette::WindowText, colours.text},
        {QPalette::Base, colours.field},
        {QPalette::AlternateBase, colours.stripe},
        {QPalette::Text, colours.text},
        {QPalette::Button, colours.button},
        {QPalette::ButtonText, colours.text},
        {QPalette::Highlight, colours.accent},
        {QPalette::HighlightedText, colours.onAccent},
        {QPalette::PlaceholderText, colours.faint},
        {QPalette::ToolTipBase, colours.card},
        {QPalette::ToolTipText, colours.text},
    }};
    for (const auto& [role, colour] : roles)
        palette.setColor(role, QColor(colour));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(colours.off));
    for (const auto role : {QPalette::Base, QPalette::AlternateBase, QPalette::Button})
        palette.setColor(QPalette::Disabled, role, QColor(colours.locked));
    palette.setColor(QPalette::Disabled, QPalette::Highlight, QColor(colours.line));
    palette.setColor(QPalette::Disabled, QPalette::HighlightedText, QColor(colours.text));
    return palette;
}

QString SheetOf(const Colours& colours) {
    QString sheet = R"(
        QGroupBox { background: @card; border: 1px solid @line; border-radius: 6px; margin-top: 0;
                    padding-top: 24px; font-weight: bold; }
        QGroupBox::title { subcontrol-origin: padding; subcontrol-position: top left; left: 9px; top: 8px; }
        QGroupBox[untitled="true"] { padding-top: 0; }
        QGroupBox[untitled="true"]::title { top: 0; height: 0; }
        QLabel[objectName^="caption"] { color: @faint; }
        QLabel[band="true"] { border-radius: 6px; padding: 8px 12px; background: @card; border: 1px solid @line;
                              font-weight: bold; }
        QLabel[band="true"][tone="attention"] { background: @attention; color: @onAttention; border-color: @attention; }
        QLabel[band="true"][tone="settled"] { background: @settled; color: @onSettled; border-color: @settled; }
        QPushButton { padding: 5px 14px; border: 1px solid @line; border-radius: 4px; background: @button; }
        QPushButton:hover, QPushButton:focus { border-color: @accent; }
        QPushButton:pressed { background: @line; }
        QPushButton:disabled { color: @off; background: transparent; }
        QPushButton[primary="true"]:enabled { color: @onAccent; background: @accent; border-color: @accent; }
        QPushButton[primary="true"]:enabled:focus { border-color: @text; }
        QLineEdit, QComboBox { min-height: 24px; }
        QRadioButton::indicator { width: 12px; height: 12px; border: 1px solid @faint; border-radius: 7px;
                                  background: @field; }
        QRadioButton::indicator:checked { width: 6px; height: 6px; border: 4px solid @accent; background: @onAccent; }
        QRadioButton::indicator:disabled { border-color: @line; }
        QHeaderView { background: @card; }
        QHeaderView::section { background: @card; color: @faint; border: none; border-bottom: 1px solid @line;
                               padding: 4px 3px; }
        QMessageBox, QDialogButtonBox { dialogbuttonbox-buttons-have-icons: 0; }
        QSplitter::handle { background: transparent; }
        #paneVeil { background: @veil; }
        #paneVeilBoard { background: @card; border: 1px solid @line; border-radius: 8px; padding: 16px 24px; }
    )";
    // The longer names first: "@onAccent" holds no "@accent", but a shorter name may begin a longer one.
    const std::array<std::pair<const char*, const char*>, 16> names{{
        {"@onAttention", colours.onAttention},
        {"@attention", colours.attention},
        {"@onSettled", colours.onSettled},
        {"@settled", colours.settled},
        {"@onAccent", colours.onAccent},
        {"@accent", colours.accent},
        {"@window", colours.window},
        {"@button", colours.button},
        {"@locked", colours.locked},
        {"@field", colours.field},
        {"@faint", colours.faint},
        {"@card", colours.card},
        {"@line", colours.line},
        {"@text", colours.text},
        {"@veil", colours.veil},
        {"@off", colours.off},
    }};
    for (const auto& [name, colour] : names)
        sheet.replace(name, colour);
    return sheet;
}

} // namespace

void Dress(QApplication& application, Scheme scheme) {
    static const QFont desktopFont = QApplication::font();
    const Colours& colours = scheme == Scheme::Dark ? Dark : Light;
    QFont font = desktopFont;
    QFont::insertSubstitution("MS Sans Serif", desktopFont.family());
    font.setFamily("MS Sans Serif");
    QApplication::setFont(font);
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    QApplication::setPalette(PaletteOf(colours));
    application.setStyleSheet(SheetOf(colours));
}

} // namespace tavrel
