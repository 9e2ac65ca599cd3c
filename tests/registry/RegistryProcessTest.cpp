// Several processes on one registry, each the tool registering the library as a
// user does: concurrent registrations keep the install count exact, and a
// registering process killed at any of its changes leaves the registry as it was.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

#include "RegistryTestSupport.h"

extern char** environ;

namespace {

using namespace registry_test;

const std::string kClassText = "{4356564A-A9AA-4664-B743-2AFF4C551251}";  // the service's class
const std::string kClassKey = "CLSID\\" + kClassText;

// Starts `vantle-assist command`, its output discarded; with a gate, the command
// waits until the gate's write end is closed.
pid_t SpawnTool(const char* command, int gate = -1) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    if (gate >= 0) posix_spawn_file_actions_adddup2(&actions, gate, STDIN_FILENO);
    const char* waiting[] = {"/bin/sh", "-c", "read gate; exec \"$0\" \"$1\"", VANTLE_TOOL_PATH, command, nullptr};
    const char* direct[] = {VANTLE_TOOL_PATH, command, nullptr};
    const char* const* argv = gate >= 0 ? waiting : direct;
    pid_t pid = -1;
    const int rc = posix_spawn(&pid, argv[0], &actions, nullptr, const_cast<char* const*>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    return rc == 0 ? pid : -1;
}

// The exit code, or 128 + the signal that ended the process.
int WaitForExit(pid_t pid) {
    int status = 0;
    if (pid <= 0 || waitpid(pid, &status, 0) != pid) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

class RegistryProcessTest : public ::testing::Test {
protected:
    // Runs `count` tools with the same command, released at the same moment; true when all succeeded.
    bool RunTogether(const char* command, int count) {
        int gate[2];
        EXPECT_EQ(pipe2(gate, O_CLOEXEC), 0);  // a tool holding the write end would never see the end
        std::vector<pid_t> tools;
        for (int i = 0; i < count; ++i) tools.push_back(SpawnTool(command, gate[0]));
        close(gate[0]);
        close(gate[1]);
        bool succeeded = true;
        for (pid_t pid : tools) succeeded = WaitForExit(pid) == 0 && succeeded;
        return succeeded;
    }

    std::optional<std::string> InstallCount() { return ValueAt(kClassKey + "\\InstallCount"); }

    // Each chain of a registration writes a key together with its value, so a key
    // without its value is a half-written record.
    void ExpectEveryRecordWhole(const std::string& when) {
        sqlite3* db = nullptr;
        sqlite3_stmt* check = nullptr;
        ASSERT_EQ(sqlite3_open_v2(m_file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK) << when;
        ASSERT_EQ(sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &check, nullptr), SQLITE_OK) << when;
        ASSERT_EQ(sqlite3_step(check), SQLITE_ROW) << when;
        EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(check, 0)), "ok") << when;
        sqlite3_finalize(check);
        sqlite3_close(db);
        const std::pair<std::string, std::string> records[] = {
            {kClassKey, "VantleAssist"},
            {kClassKey + "\\InprocServer32", "libvantleassist.so"},
            {kClassKey + "\\ProgID", "VantleAssist"},
            {"VantleAssist\\CLSID", kClassText},
        };
        for (const auto& [key, text] : records) {
            if (KeyExists(key)) { EXPECT_EQ(ValueAt(key), text) << when << " " << key; }
        }
        if (auto count = InstallCount()) { EXPECT_GE(std::stoi(*count), 0) << when; }
    }

    TempFolder m_folder;
    std::string m_file = m_folder / "kesto/registry.db";
    ScopedEnv m_registryEnv{"KESTO_REGISTRY", m_file};
    // Processes in the sanitizer build wait on one another; give them room.
    ScopedEnv m_timeoutEnv{"KESTO_REGISTRY_BUSY_TIMEOUT_MS", std::string("30000")};
};

TEST_F(RegistryProcessTest, ConcurrentRegistrationsCountExactly) {
    // The registry file does not exist yet: the tools also race to make it.
    EXPECT_TRUE(RunTogether("register", 4));
    EXPECT_EQ(InstallCount(), "4");
    ExpectEveryRecordWhole("after registering");
    EXPECT_TRUE(RunTogether("unregister", 4));
    EXPECT_FALSE(KeyExists(kClassKey)) << "one last unregistration, the others counted down";
}

// Everything the registry holds besides its two roots, row by row.
std::string Content(const std::string& file) {
    if (!std::filesystem::exists(file)) return {};
    sqlite3* db = nullptr;
    std::string rows;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        sqlite3_exec(
            db,
            "SELECT 'key', id, parent, name FROM registry_keys WHERE id > 2"
            " UNION ALL SELECT 'value', key, name, data FROM registry_values ORDER BY 1, 2, 3",
            [](void* out, int columns, char** texts, char**) {
                std::string& rows = *static_cast<std::string*>(out);
                for (int i = 0; i < columns; ++i) rows += std::string(texts[i] ? texts[i] : "") + "|";
                rows += "\n";
                return 0;
            },
            &rows, nullptr);
    }
    sqlite3_close(db);
    return rows;
}

// The tool is killed right after each change it makes to the registry in turn,
// until it gets through: every killed run leaves the registry exactly as it was
// before, and the run that finishes leaves everything.
TEST_F(RegistryProcessTest, ARegistrationKilledAtAnyChangeLeavesNothingOrEverything) {
    struct Case {
        const char* what;
        std::vector<const char*> before;
        const char* command;
        std::optional<std::string> countAfter;
        int changes;  // at least: each record, or only the count
    };
    const Case cases[] = {
        {"first registration", {}, "register", "1", 8},
        {"second registration", {"register"}, "register", "2", 4},
        {"unregistering one of two", {"register", "register"}, "unregister", "1", 1},
        {"unregistering the last", {"register"}, "unregister", std::nullopt, 3},
    };
    for (const Case& c : cases) {
        int killed = 0;
        for (int change = 1; change < 100; ++change) {
            const std::string when = std::string(c.what) + ", killed at change " + std::to_string(change);
            std::filesystem::remove_all(m_folder.path / "kesto");
            for (const char* command : c.before) ASSERT_TRUE(RunTogether(command, 1)) << when;
            const std::string before = Content(m_file);
            int code;
            {
                ScopedEnv kill("KESTO_REGISTRY_KILL_AT_CHANGE", std::to_string(change));
                code = WaitForExit(SpawnTool(c.command));
            }
            if (code == 0) break;
            ++killed;
            ASSERT_EQ(code, 128 + SIGKILL) << when;
            EXPECT_EQ(Content(m_file), before) << when;
            ExpectEveryRecordWhole(when);
            if (HasFailure()) return;
        }
        EXPECT_GE(killed, c.changes) << c.what << ": a kill at each of its changes";
        EXPECT_EQ(InstallCount(), c.countAfter) << c.what << ": the run that was not killed did everything";
        ExpectEveryRecordWhole(c.what);
    }
}

}  // namespace
