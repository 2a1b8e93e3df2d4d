#pragma once

#include "platform/qt/Look.h"

#include <QColor>

namespace tavrel {

/// A colour of the windows, on a light desktop and on a dark one.
struct Tint {
    QRgb light;
    QRgb dark;

    QColor In(Scheme scheme) const { return QColor::fromRgba(scheme == Scheme::Dark ? dark : light); }
};

namespace colours {

inline constexpr Tint Window{0xFFEEF1F4, 0xFF1C2024};
inline constexpr Tint Card{0xFFFFFFFF, 0xFF262B30};   // the face of a frame
inline constexpr Tint Field{0xFFFFFFFF, 0xFF1A1E22};  // where one types
inline constexpr Tint Locked{0xFFEFF1F3, 0xFF2D3339}; // where one does not
inline constexpr Tint Stripe{0xFFF6F8FA, 0xFF1F2429}; // every second row
inline constexpr Tint Button{0xFFF7F8FA, 0xFF343B42};
inline constexpr Tint Line{0xFFCFD6DC, 0xFF424A52};
inline constexpr Tint Text{0xFF1B2229, 0xFFE3E7EB};
inline constexpr Tint Faint{0xFF56626D, 0xFFA3AEB8}; // captions
inline constexpr Tint Off{0xFF5F6A74, 0xFF98A2AC};   // what is disabled
inline constexpr Tint Accent{0xFF1C679F, 0xFF4C9BD8};
inline constexpr Tint OnAccent{0xFFFFFFFF, 0xFF0D1317};
inline constexpr Tint Attention{0xFFFDF0CF, 0xFF4A3A12};
inline constexpr Tint OnAttention{0xFF5B4100, 0xFFF6DFA3};
inline constexpr Tint Settled{0xFFDCEFE2, 0xFF1D4029};
inline constexpr Tint OnSettled{0xFF17492A, 0xFFBFE6CB};
inline constexpr Tint Failure{0xFFA61B1B, 0xFF8F1F1F};
inline constexpr Tint OnFailure{0xFFFFFFFF, 0xFFFFE9E6};
inline constexpr Tint Wrong{0xFFC4261D, 0xFFFF7B6F}; // the line under what cannot stay
inline constexpr Tint Veil{0xBEEEF1F4, 0xBE1C2024};  // over a window that waits

} // namespace colours

} // namespace tavrel
