#pragma once

#include <cstddef>
#include <span>

namespace BSE
{

// Fills the bytes with random numbers fit for keys and initialisation vectors; false, with the content
// undefined, if the system gives none.
[[nodiscard]] bool GetRandomBytes(std::span<unsigned char> bytes);

}  // namespace BSE
