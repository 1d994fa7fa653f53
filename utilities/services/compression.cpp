#include <string>

#include "utilities/frame/assert_internal.h"
#include "utilities/platform/descriptors.h"
#include "utilities/platform/directories.h"
#include "utilities/platform/files.h"
#include "utilities/platform/process.h"
#include "utilities/services/utilityfunctions.h"

namespace {

constexpr char ASSERT_MODULE[] = ".\\utilityfunctions";

constexpr char EXTENSION[] = ".gz";
constexpr std::uint32_t LIMIT_MILLISECONDS = 30000;

/// The file that a program writes. Unless it is kept, it goes with the object.
class OutputFile {
public:
    explicit OutputFile(const char* pathOfFile)
        : path(pathOfFile), descriptor(platform::CreateOutputFile(pathOfFile)) {}
    ~OutputFile() {
        if (descriptor == -1)
            return;
        // While it is still held: a moment later it could be what another call is writing.
        if (!isKept)
            platform::DeleteFileA(path);
        platform::_close(descriptor);
    }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    int Get() const { return descriptor; }
    void Keep() { isKept = true; }

private:
    const char* const path;
    const int descriptor;
    bool isKept = false;
};

/// Runs the command with its standard output in the open file. False where it can't be started or
/// doesn't end in time.
bool RunWithOutput(char* commandLine, int output) {
    platform::Process process;
    if (!platform::CreateProcessA(commandLine, output, process))
        return false;
    const bool hasEnded =
        platform::WaitForSingleObject(process, LIMIT_MILLISECONDS) == platform::WAIT_OBJECT_0;
    if (!hasEnded)
        platform::TerminateProcess(process);
    platform::CloseHandle(process);
    return hasEnded;
}

bool runToFile(char* commandLine, const char* outputFile) {
    OutputFile output(outputFile);
    if (output.Get() == -1 || !RunWithOutput(commandLine, output.Get()))
        return false;
    output.Keep();
    return true;
}

/// True also for two names of one file.
bool IsSameFile(const char* path, const char* other) {
    struct _stat status;
    struct _stat otherStatus;
    return platform::_stat(path, &status) == 0 && platform::_stat(other, &otherStatus) == 0 &&
           status.st_dev == otherStatus.st_dev && status.st_ino == otherStatus.st_ino;
}

bool gzipFile(const char* source, const char* destination, bool decompress, bool force) {
    std::string pathRead(source);
    std::string pathWritten(destination);
    (decompress ? pathRead : pathWritten) += EXTENSION;
    const char* const pszDestPathWithExt = pathWritten.c_str();
    if (getFileMtime(pszDestPathWithExt) >= getFileMtime(pathRead.c_str()) && !force)
        return true;

    std::string command(decompress ? "gzip -df" : "gzip -f");
    command.append("c ").append(pathRead);
    // Emptying the result first would empty the source.
    const bool retval = !IsSameFile(pathRead.c_str(), pszDestPathWithExt) &&
                        runToFile(command.data(), pszDestPathWithExt);
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
