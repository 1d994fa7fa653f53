#include "statuslogs.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "files.h"
#include "messages.h"

namespace {

namespace fs = std::filesystem;

std::string logDirectory;  // Absolute; empty if there are no logs.

/// Empty if the user has none.
fs::path DefaultDirectory() {
    const char* const state = std::getenv("XDG_STATE_HOME");
    const char* const home = std::getenv("HOME");
    // As that variable's convention has it, a relative path is ignored.
    if (state != nullptr && state[0] == '/')
        return fs::path(state) / "catalog";
    return home != nullptr && home[0] == '/' ? fs::path(home) / ".local/state/catalog" : fs::path();
}

/// The library writes its logs to the working directory, which is another one in this scope.
class ScopedWorkingDirectory {
public:
    explicit ScopedWorkingDirectory(const std::string& directory)
        : m_Before(open(".", O_PATH | O_CLOEXEC)),
          m_IsChanged(m_Before.IsOpen() && chdir(directory.c_str()) == 0) {}
    ~ScopedWorkingDirectory() {
        if (m_IsChanged && fchdir(m_Before.Number()) != 0)
            std::abort();  // Relative paths would mean other files.
    }
    ScopedWorkingDirectory(const ScopedWorkingDirectory&) = delete;
    ScopedWorkingDirectory& operator=(const ScopedWorkingDirectory&) = delete;

    bool IsChanged() const { return m_IsChanged; }

private:
    const Descriptor m_Before;
    const bool m_IsChanged;
};

template <class Action>
void RunInLogDirectory(Action action) {
    if (logDirectory.empty())
        return;
    const ScopedWorkingDirectory there(logDirectory);
    if (there.IsChanged())
        action();
}

}  // namespace

void KeepStatusLogs(const String& directory) {
    const fs::path wanted = directory.empty() ? DefaultDirectory() : fs::path(directory.c_str());
    std::error_code error;
    fs::create_directories(wanted, error);
    if (!error)
        logDirectory = fs::canonical(wanted, error).string();
    if (error && !directory.empty())
        throw std::system_error(error.value(), std::generic_category(), Escaped(directory));
}

std::vector<std::string> StatusLogs() {
    if (logDirectory.empty())
        return {};
    return {logDirectory + "/vy-current-status", logDirectory + "/vy-last-stop-status"};
}

void BeginStatusLog(const String& text) {
    RunInLogDirectory([&] {
        VYStatusLogStart();
        VYStatusLogWrite(text.c_str());
    });
}

void AppendStatus(const String& text) {
    RunInLogDirectory([&] { VYStatusLogAppend(text.c_str()); });
}
