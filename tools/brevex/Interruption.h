#pragma once

namespace Tool
{

// From here on the signals that end a program remove the temporary files first. Called before there is a
// second thread. A closed pipe is a failure of writing, not the end.
void HandleInterruption();

}  // namespace Tool
