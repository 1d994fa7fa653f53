#include "utilities/services/compression.h"

#include <string>

#include "utilities/frame/assert_internal.h"
#include "utilities/frame/errno_internal.h"
#include "utilities/platform/canceldeferral.h"
#include "utilities/platform/descriptors.h"
#include "utilities/platform/directories.h"
#include "utilities/platform/files.h"
#include "utilities/platform/outputfile.h"
#include "utilities/platform/process.h"
#include "utilities/platform/stopdeferral.h"
#include "utilities/services/filefunctions.h"

namespace {

constexpr char ASSERT_MODULE[] = ".\\utilityfunctions";  // The module's name, not the file's.

constexpr char EXTENSION[] = ".gz";
constexpr std::uint32_t LIMIT_MILLISECONDS = 30000;

/// A file for a program's output, locked as long as the object lives. The destructor deletes it
/// unless `Keep` was called.
class OutputFile {
public:
    explicit OutputFile(const char* path)
        : m_Path(path), m_Descriptor(platform::CreateOutputFile(path)) {}
    ~OutputFile() {
        if (m_Descriptor == -1)
            return;
        const ScopedErrno untilClosed;
        // Deleted before the lock ends: afterwards it could be the file of another call.
        if (!m_IsKept)
            platform::DeleteFileA(m_Path);
        platform::CloseUnchecked(m_Descriptor);
    }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// -1 if the file couldn't be opened.
    int Descriptor() const { return m_Descriptor; }
    void Keep() { m_IsKept = true; }

private:
    const char* const m_Path;
    const int m_Descriptor;
    bool m_IsKept = false;
};

/// A program at work. The destructor kills it if it hasn't ended.
class RunningProgram {
public:
    RunningProgram(char* commandLine, int output)
        : m_IsStarted(platform::CreateProcessA(commandLine, output, m_Process)) {}
    ~RunningProgram() {
        const ScopedErrno untilClosed;
        if (m_IsStarted && !m_HasEnded)
            platform::TerminateProcess(m_Process);
        platform::CloseHandle(m_Process);
    }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    /// False if it couldn't be started, runs for too long, or the calling thread must end.
    bool Ends() {
        if (!m_IsStarted)
            return false;
        const std::uint32_t end = platform::WaitForSingleObject(m_Process, LIMIT_MILLISECONDS);
        if (end == platform::WAIT_TIMEOUT)
            errno = ETIMEDOUT;
        m_HasEnded = end == platform::WAIT_OBJECT_0;
        return m_HasEnded;
    }

private:
    platform::Process m_Process;
    const bool m_IsStarted;
    bool m_HasEnded = false;
};

/// Runs the command with its standard output in the file, which doesn't exist after a failure.
///
/// A thread that is killed or cancelled in here takes the program and the file along: it ends in
/// the wait for the program, and leaves by the destructors, or with the last deferral.
bool runToFile(char* commandLine, const char* outputFile) {
    const platform::CancelDeferral noCancel;
    const platform::StopDeferral noStop;
    OutputFile output(outputFile);
    if (output.Descriptor() == -1 || !RunningProgram(commandLine, output.Descriptor()).Ends())
        return false;
    output.Keep();
    return true;
}

/// Whether both paths name one existing file, also through links.
bool IsSameFile(const char* path, const char* other) {
    struct _stat status;
    struct _stat otherStatus;
    return platform::_stat(path, &status) == 0 && platform::_stat(other, &otherStatus) == 0 &&
           status.st_dev == otherStatus.st_dev && status.st_ino == otherStatus.st_ino;
}

/// The common part of both directions. The names of its variables stand in the reports.
bool gzipFile(const char* source, const char* destination, bool decompress, bool force) {
    std::string pathRead(source);
    std::string pathWritten(destination);
    (decompress ? pathRead : pathWritten) += EXTENSION;
    const char* const pszDestPathWithExt = pathWritten.c_str();
    if (getFileMtime(pszDestPathWithExt) >= getFileMtime(pathRead.c_str()) && !force)
        return true;

    std::string command(decompress ? "gzip -df" : "gzip -f");
    command.append("c ").append(pathRead);
    // A file onto itself would be emptied before the program reads it.
    const bool isSame = IsSameFile(pathRead.c_str(), pszDestPathWithExt);
    const bool retval = isSame ? FailWith(EINVAL) : runToFile(command.data(), pszDestPathWithExt);
    const ScopedErrno untilReported;
    ASSERT(retval);
    ASSERT(IsFileExisting(pszDestPathWithExt));
    return retval;
}

}  // namespace

const char* getZipfileExtension() { return EXTENSION; }

const char* ZIP(const char* source, const char* destination, bool force) {
    return gzipFile(source, destination, false, force) ? EXTENSION : "";
}

bool UNZIP(const char* source, const char* destination, bool force) {
    return gzipFile(source, destination, true, force);
}
