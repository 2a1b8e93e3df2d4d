#pragma once

namespace tavrel {

enum class Scheme { Light, Dark };

/// Dresses every window of the program: style, palette and font ("MS Sans Serif", for which the
/// desktop's own font is drawn where it is missing).
void Dress(Scheme scheme);

} // namespace tavrel
