#pragma once

namespace VzDbgLog
{

class FileNames;
class LogFolder;

// Deletes the oldest closed files of the family beyond MaxClosedFiles. A file that is being written, that
// this account may not delete, or that is a link stays and does not count. Any thread, and any number of
// processes.
void DeleteOldFiles(const LogFolder& folder, const FileNames& names);

} // namespace VzDbgLog
