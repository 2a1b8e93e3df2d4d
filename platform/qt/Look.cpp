#include "platform/qt/Look.h"

#include <QApplication>
#include <QFont>
#include <QPalette>
#include <QStyleFactory>

#include <algorithm>
#include <array>
#include <string_view>

namespace tavrel {
namespace {

struct Colour {
    const char* name;
    const char* light;
    const char* dark;

    constexpr const char* In(Scheme scheme) const { return scheme == Scheme::Dark ? dark : light; }
};

constexpr std::array Colours{
    Colour{"window", "#eef1f4", "#1c2024"},
    Colour{"card", "#ffffff", "#262b30"},   // the face of a frame
    Colour{"field", "#ffffff", "#1a1e22"},  // where one types
    Colour{"locked", "#eff1f3", "#2d3339"}, // where one does not
    Colour{"stripe", "#f6f8fa", "#1f2429"}, // every second row
    Colour{"button", "#f7f8fa", "#343b42"},
    Colour{"line", "#cfd6dc", "#424a52"},
    Colour{"text", "#1b2229", "#e3e7eb"},
    Colour{"faint", "#56626d", "#a3aeb8"}, // captions
    Colour{"off", "#5f6a74", "#98a2ac"},   // what is disabled
    Colour{"accent", "#1c679f", "#4c9bd8"},
    Colour{"onAccent", "#ffffff", "#0d1317"},
    Colour{"attention", "#fdf0cf", "#4a3a12"},
    Colour{"onAttention", "#5b4100", "#f6dfa3"},
    Colour{"settled", "#dcefe2", "#1d4029"},
    Colour{"onSettled", "#17492a", "#bfe6cb"},
    Colour{"failure", "#a61b1b", "#8f1f1f"},
    Colour{"onFailure", "#ffffff", "#ffe9e6"},
    Colour{"wrong", "#c4261d", "#ff7b6f"}, // the line under what cannot stay
    Colour{"veil", "rgba(238, 241, 244, 190)", "rgba(28, 32, 36, 190)"},
};

consteval Colour Named(std::string_view name) {
    return *std::ranges::find(Colours, name, &Colour::name);
}

QPalette PaletteOf(Scheme scheme) {
    constexpr std::array<std::pair<QPalette::ColorRole, Colour>, 13> roles{{
        {QPalette::Window, Named("window")},
        {QPalette::WindowText, Named("text")},
        {QPalette::Base, Named("field")},
        {QPalette::AlternateBase, Named("stripe")},
        {QPalette::Text, Named("text")},
        {QPalette::Button, Named("button")},
        {QPalette::ButtonText, Named("text")},
        {QPalette::Highlight, Named("accent")},
        {QPalette::HighlightedText, Named("onAccent")},
        {QPalette::PlaceholderText, Named("faint")},
        {QPalette::BrightText, Named("wrong")},
        {QPalette::ToolTipBase, Named("card")},
        {QPalette::ToolTipText, Named("text")},
    }};
    constexpr std::array<std::pair<QPalette::ColorRole, Colour>, 8> disabled{{
        {QPalette::WindowText, Named("off")},
        {QPalette::Text, Named("off")},
        {QPalette::ButtonText, Named("off")},
        {QPalette::Base, Named("locked")},
        {QPalette::AlternateBase, Named("locked")},
        {QPalette::Button, Named("locked")},
        {QPalette::Highlight, Named("line")},
        {QPalette::HighlightedText, Named("text")},
    }};
    QPalette palette(Named("button").In(scheme), Named("window").In(scheme));
    for (const auto& [role, colour] : roles)
        palette.setColor(role, colour.In(scheme));
    for (const auto& [role, colour] : disabled)
        palette.setColor(QPalette::Disabled, role, colour.In(scheme));
    return palette;
}

QString SheetOf(Scheme scheme) {
    QString sheet = R"(
        QGroupBox { background: @card; border: 1px solid @line; border-radius: 6px; margin-top: 0;
                    padding-top: 24px; font-weight: bold; }
        QGroupBox::title { subcontrol-origin: padding; subcontrol-position: top left; left: 9px; top: 8px; }
        QGroupBox[untitled="true"], QGroupBox[headed="true"] { padding-top: 0; }
        QGroupBox[untitled="true"]::title { top: 0; height: 0; }
        QLabel[objectName^="caption"], QLabel[describes] { color: @faint; }
        QLabel:focus { background: @line; border-radius: 3px; }
        QLabel[band="true"] { border-radius: 6px; padding: 8px 12px; background: @card; border: 1px solid @line;
                              font-weight: bold; }
        QLabel[band="true"][tone="attention"] { background: @attention; color: @onAttention; border-color: @attention; }
        QLabel[band="true"][tone="settled"] { background: @settled; color: @onSettled; border-color: @settled; }
        QLabel[band="true"][tone="failure"] { background: @failure; color: @onFailure; border-color: @failure; }
        QLabel[band="true"]:focus { border-color: @text; }
        QLabel[note="true"] { color: @faint; border-radius: 4px; padding: 1px 8px; }
        QLabel[note="true"][tone="attention"] { background: @attention; color: @onAttention; }
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
    for (const Colour& colour : Colours)
        sheet.replace(QString("@%1;").arg(colour.name), QString("%1;").arg(colour.In(scheme)));
    return sheet;
}

} // namespace

void Dress(QApplication& application, Scheme scheme) {
    static const QFont desktopFont = QApplication::font();
    QFont font = desktopFont;
    QFont::insertSubstitution("MS Sans Serif", desktopFont.family());
    font.setFamily("MS Sans Serif");
    QApplication::setFont(font);
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    QApplication::setPalette(PaletteOf(scheme));
    application.setStyleSheet(SheetOf(scheme));
}

} // namespace tavrel
