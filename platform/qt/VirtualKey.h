#pragma once

namespace tavrel {

/// The virtual key code (27 Escape, 40 Down, 46 Delete, ...) of a `Qt::Key`; 0 when it has none that
/// anybody asks for. Punctuation has none: its characters would be taken for other keys.
int VirtualKey(int key);

} // namespace tavrel
