// Several processes on one registry: concurrent registrations keep the install
// count exact, and a registering process killed at any moment leaves a readable
// registry in which every record is whole.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <thread>
#include <vector>

#include "registry/RegistryTestSupport.h"
#include "registry/RegistryWorkerClass.h"

extern char** environ;

namespace {

using namespace registry_test;
namespace worker = registry_worker;

const std::string kClassKey = std::string("CLSID\\") + worker::kClassText;

// Starts the worker with standard input or output on the given descriptors (-1 keeps the test's).
pid_t SpawnWorker(std::vector<std::string> arguments, int input, int output) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (input >= 0) posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    if (output >= 0) posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    arguments.insert(arguments.begin(), REGISTRY_WORKER_PATH);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    pid_t pid = -1;
    int rc = posix_spawn(&pid, REGISTRY_WORKER_PATH, &actions, nullptr, argv.data(), environ);
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
    // Runs `count` workers with the same command, released at the same moment; returns their sorted exit codes.
    std::vector<int> RunTogether(const std::string& command, int count) {
        int gate[2];
        EXPECT_EQ(pipe2(gate, O_CLOEXEC), 0);  // a worker holding the write end would never see the end
        std::vector<pid_t> workers;
        for (int i = 0; i < count; ++i) workers.push_back(SpawnWorker({command, "--wait"}, gate[0], -1));
        close(gate[0]);
        close(gate[1]);
        std::vector<int> codes;
        for (pid_t pid : workers) codes.push_back(WaitForExit(pid));
        std::sort(codes.begin(), codes.end());
        return codes;
    }

    // Each chain of a registration writes a key together with its value, so a key
    // without its value is a half-written record.
    void ExpectEveryRecordWhole(const std::string& when) {
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open_v2(m_file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK) << when;
        sqlite3_stmt* check = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &check, nullptr), SQLITE_OK) << when;
        ASSERT_EQ(sqlite3_step(check), SQLITE_ROW) << when;
        EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(check, 0)), "ok") << when;
        sqlite3_finalize(check);
        sqlite3_close(db);
        const std::pair<std::string, std::string> records[] = {
            {kClassKey, worker::kName},
            {kClassKey + "\\InprocServer32", "libvantleassist.so"},
            {kClassKey + "\\ProgID", worker::kName},
            {kClassKey + "\\DisplayName", worker::kDisplayName},
            {kClassKey + "\\Description", worker::kDescription},
            {std::string(worker::kName) + "\\CLSID", worker::kClassText},
        };
        for (const auto& [key, text] : records) {
            if (KeyExists(key)) { EXPECT_EQ(ValueAt(key), text) << when << " " << key; }
        }
        if (auto count = ValueAt(kClassKey + "\\InstallCount")) { EXPECT_GE(std::stoi(*count), 0) << when; }
        for (const char* extension : worker::kExtensions) {
            std::optional<std::string> value = ValueAt(std::string("Moniker\\") + worker::kMonikerKey, extension);
            EXPECT_TRUE(!value || *value == worker::kClassText) << when << " " << extension;
        }
    }

    TempFolder m_folder;
    std::string m_file = (m_folder.Path() / "kesto" / "registry.db").string();
    ScopedEnv m_registryEnv{"KESTO_REGISTRY", m_file};
    // Processes in the sanitizer build wait on one another; give them room.
    ScopedEnv m_timeoutEnv{"KESTO_REGISTRY_BUSY_TIMEOUT_MS", std::string("30000")};
};

TEST_F(RegistryProcessTest, ConcurrentRegistrationsCountExactly) {
    constexpr int kWorkers = 4;
    // The registry file does not exist yet: the workers also race to make it.
    EXPECT_EQ(RunTogether("register", kWorkers), std::vector<int>(kWorkers, 0));
    EXPECT_EQ(ValueAt(kClassKey + "\\InstallCount"), std::to_string(kWorkers));
    ExpectEveryRecordWhole("after registering");
    std::vector<int> expected(kWorkers, 1);
    expected[0] = 0;
    EXPECT_EQ(RunTogether("unregister", kWorkers), expected) << "one last unregistration, the others count down";
    EXPECT_FALSE(KeyExists(kClassKey));
}

TEST_F(RegistryProcessTest, AKilledRegistrationNeverLeavesAHalfWrittenRecord) {
    const unsigned seed = std::random_device()();
    std::mt19937 random(seed);
    for (int round = 0; round < 20; ++round) {
        int ready[2];
        ASSERT_EQ(pipe2(ready, O_CLOEXEC), 0);
        pid_t pid = SpawnWorker({"cycle"}, -1, ready[1]);
        close(ready[1]);
        ASSERT_GT(pid, 0);
        char byte;
        // Some rounds kill the worker before it starts: it may be making the file.
        if (round % 5 != 0) { ASSERT_EQ(read(ready[0], &byte, 1), 1); }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 25000));
        kill(pid, SIGKILL);
        EXPECT_EQ(WaitForExit(pid), 128 + SIGKILL) << "the worker must not fail on its own";
        close(ready[0]);
        if (!std::filesystem::exists(m_file)) continue;
        ExpectEveryRecordWhole("round " + std::to_string(round) + " (seed " + std::to_string(seed) + ")");
        if (HasFatalFailure()) return;
    }
    // The registry goes on working: one more registration adds exactly one.
    int before = std::stoi(ValueAt(kClassKey + "\\InstallCount").value_or("0"));
    EXPECT_EQ(RunTogether("register", 1), std::vector<int>({0}));
    EXPECT_EQ(ValueAt(kClassKey + "\\InstallCount"), std::to_string(before + 1));
}

}  // namespace
