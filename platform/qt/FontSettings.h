#pragma once

namespace tavrel {

/// What the first text on the screen waits for otherwise, each of any thread: first what the desktop says of its fonts,
/// which needs no application object, then what fonts there are.
void ReadFontSettings();
void ReadFonts();

} // namespace tavrel
