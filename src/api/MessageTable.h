#pragma once

namespace API
{

// Makes the texts of all status codes known to the errors of the base layer. Done once at load time already;
// a program that links this layer statically calls it itself. Calling it again changes nothing.
void InstallMessageTable();

}  // namespace API
