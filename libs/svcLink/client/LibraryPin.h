#pragma once

namespace SvcLink
{

// Keeps this library loaded until the process ends: its threads are not waited for, and messages that it made
// may outlive their manager.
void PinLibrary();

} // namespace SvcLink
