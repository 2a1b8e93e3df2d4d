#pragma once

namespace tavrel {

/// Reads what the desktop says of its fonts, which the first text on the screen waits for otherwise. Of any thread.
void ReadFontSettings();

} // namespace tavrel
