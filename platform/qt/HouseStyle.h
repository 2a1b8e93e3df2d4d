#pragma once

#include "platform/qt/Look.h"

#include <QProxyStyle>

class QLabel;
class QStyleOptionComboBox;

namespace tavrel {

/// How the windows look, over the toolkit's Fusion style. A style sheet would say it in fewer lines, and take a third
/// of the program's start.
///
/// What a window's layout says of a widget by dynamic properties:
/// - a QGroupBox is a card with its title inside; `untitled` shows no title, `headed` leaves its place to what is
/// there;
/// - a QLabel with `band` is a band of colour, one with `note` a remark; `tone` is their colour ("neutral",
/// "attention",
///   "settled", "failure"), to be polished again when it changes; captions ("caption..." and what `describes`) are
///   faint;
/// - a QPushButton that is `primary` is the one to press;
/// - a QFrame that is a `card` stands out, over a `veil` that dims its window.
class HouseStyle : public QProxyStyle {
    Q_OBJECT

public:
    explicit HouseStyle(Scheme scheme);

    Scheme DressesIn() const { return scheme_; }

    using QProxyStyle::polish;
    void polish(QWidget* widget) override;
    QPalette standardPalette() const override;
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* answer) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                           const QWidget* widget) const override;
    QRect subElementRect(SubElement element, const QStyleOption* option, const QWidget* widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                         const QWidget* widget) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                            const QWidget* widget) const override;

private:
    void PolishLabel(QLabel& label) const;
    void DrawFrame(const QStyleOption& option, QPainter& painter, const QWidget& widget) const;
    void DrawLabelsGround(const QStyleOption& option, QPainter& painter, const QLabel& label) const;
    void DrawButton(const QStyleOption& option, QPainter& painter, const QWidget* widget) const;
    void DrawGroup(const QStyleOptionComplex& option, QPainter& painter, const QWidget* widget) const;
    void DrawBoxToTypeIn(const QStyleOptionComboBox& option, QPainter& painter, const QWidget* widget) const;
    void DrawOption(const QStyleOption& option, QPainter& painter) const;

    Scheme scheme_;
};

} // namespace tavrel
