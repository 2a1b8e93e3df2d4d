#include "codes/FilterSearchKey.h"

namespace tavrel {

std::int16_t FilterSearchKey(std::int16_t keyAscii) {
    if (keyAscii >= 'a' && keyAscii <= 'z')
        return static_cast<std::int16_t>(keyAscii - 'a' + 'A');
    return keyAscii == '\'' ? '`' : keyAscii;
}

} // namespace tavrel
