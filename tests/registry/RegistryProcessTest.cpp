// Several processes on one registry, each the tool registering the library as a
// user does: concurrent registrations keep the install count exact, and a
// registering process killed at any moment leaves a readable registry in which
// every record is whole.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <thread>
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

TEST_F(RegistryProcessTest, AKilledRegistrationNeverLeavesAHalfWrittenRecord) {
    const unsigned seed = std::random_device()();
    std::mt19937 random(seed);
    for (int round = 0; round < 20; ++round) {
        const pid_t pid = SpawnTool("register");
        ASSERT_GT(pid, 0);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 50000));
        kill(pid, SIGKILL);
        const int code = WaitForExit(pid);
        EXPECT_TRUE(code == 128 + SIGKILL || code == 0) << "the tool must not fail on its own: " << code;
        if (!std::filesystem::exists(m_file)) continue;
        ExpectEveryRecordWhole("round " + std::to_string(round) + " (seed " + std::to_string(seed) + ")");
        if (HasFatalFailure()) return;
        // A finished registration is taken back, so that the next round writes every record anew.
        if (code == 0) { EXPECT_TRUE(RunTogether("unregister", 1)); }
    }
    // The registry goes on working: one more registration adds exactly one.
    const int before = std::stoi(InstallCount().value_or("0"));
    EXPECT_TRUE(RunTogether("register", 1));
    EXPECT_EQ(InstallCount(), std::to_string(before + 1));
}

}  // namespace
