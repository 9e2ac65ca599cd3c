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

#include <chrono>
#include <random>
#include <thread>

#include "kesto/registry.h"
#include "registry/RegistryTestSupport.h"
#include "registry/RegistryWorkerClass.h"

extern char** environ;

namespace {

using registry_test::Ref;
using registry_test::ScopedEnv;
using registry_test::TakeString;
using registry_test::TempFolder;
using registry_test::Wide;

const std::string kWorker = REGISTRY_WORKER_PATH;
const std::string kClassKey = std::string("CLSID\\") + registry_worker::kWorkerClassText;

// Starts the worker with its standard input and output on the given descriptors
// (-1 keeps the test's own).
pid_t SpawnWorker(std::vector<std::string> arguments, int input, int output) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (input >= 0) posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    if (output >= 0) posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    arguments.insert(arguments.begin(), kWorker);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    pid_t pid = -1;
    int rc = posix_spawn(&pid, kWorker.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return rc == 0 ? pid : -1;
}

// The exit code, or 128 + the signal that ended the process.
int WaitForExit(pid_t pid) {
    int status = 0;
    if (waitpid(pid, &status, 0) != pid) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

class RegistryProcessTest : public ::testing::Test {
protected:
    // Runs `count` workers with the same command, released at the same moment;
    // returns their exit codes.
    std::vector<int> RunTogether(const std::string& command, int count) {
        int gate[2];
        // Close-on-exec: a worker holding the write end would never see the end.
        EXPECT_EQ(pipe2(gate, O_CLOEXEC), 0);
        std::vector<pid_t> workers;
        for (int i = 0; i < count; ++i) workers.push_back(SpawnWorker({command, "--wait"}, gate[0], -1));
        close(gate[0]);
        close(gate[1]);  // every worker sees the end of its input now
        std::vector<int> codes;
        for (pid_t pid : workers) codes.push_back(pid > 0 ? WaitForExit(pid) : -1);
        return codes;
    }

    // A chain at `path` below root 1; nullptr when the key does not exist.
    std::unique_ptr<Ref<COM_IRegistry>> At(const std::string& path) {
        auto registry = std::make_unique<Ref<COM_IRegistry>>();
        EXPECT_EQ(COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry, registry->Out()), S_OK);
        if (registry->Get() == nullptr || (*registry)->OpenRoot(1, Wide(path)) != S_OK) return nullptr;
        return registry;
    }

    bool Exists(const std::string& path) { return At(path) != nullptr; }

    std::optional<std::string> StringAt(const std::string& path, const std::string& value = "") {
        auto registry = At(path);
        BSTR text = nullptr;
        if (registry == nullptr || (*registry)->GetStringValue(Wide(value), &text) != S_OK) return std::nullopt;
        return TakeString(text);
    }

    std::optional<int> IntegerAt(const std::string& path) {
        auto registry = At(path);
        int number = 0;
        if (registry == nullptr || (*registry)->GetIntValue(Wide(u""), &number) != S_OK) return std::nullopt;
        return number;
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

        const std::string worker = "RegistryWorker";
        if (Exists(kClassKey)) {
            EXPECT_EQ(StringAt(kClassKey), worker) << when;
            EXPECT_EQ(StringAt(kClassKey + "\\InprocServer32"), "libvantleassist.so") << when;
        }
        const std::pair<const char*, const char*> records[] = {
            {"\\ProgID", "RegistryWorker"}, {"\\DisplayName", "Worker class"}, {"\\Description", "Written by the tests"}};
        for (const auto& [key, text] : records) {
            if (Exists(kClassKey + key)) {
                EXPECT_EQ(StringAt(kClassKey + key), text) << when << key;
            }
        }
        if (std::optional<int> count = IntegerAt(kClassKey + "\\InstallCount")) {
            EXPECT_GE(*count, 0) << when;
        }
        if (Exists(worker)) {
            EXPECT_EQ(StringAt(worker + "\\CLSID"), registry_worker::kWorkerClassText) << when;
        }
        for (const char* extension : {"wa", "wb", "wc"}) {
            std::optional<std::string> value = StringAt("Moniker\\worker", extension);
            if (value) {
                EXPECT_EQ(*value, registry_worker::kWorkerClassText) << when << extension;
            }
        }
    }

    TempFolder m_folder;
    std::string m_file = (m_folder.Path() / "kesto" / "registry.db").string();
    ScopedEnv m_registryEnv{"KESTO_REGISTRY", m_file};
    // Eight processes in the sanitizer build wait on one another; give them room.
    ScopedEnv m_timeoutEnv{"KESTO_REGISTRY_BUSY_TIMEOUT_MS", std::string("30000")};
};

TEST_F(RegistryProcessTest, ConcurrentRegistrationsCountExactly) {
    constexpr int kWorkers = 8;
    // The registry file does not exist yet: the workers also race to make it.
    std::vector<int> codes = RunTogether("register", kWorkers);
    EXPECT_EQ(codes, std::vector<int>(kWorkers, 0));
    EXPECT_EQ(IntegerAt(kClassKey + "\\InstallCount"), kWorkers);
    ExpectEveryRecordWhole("after registering");

    codes = RunTogether("unregister", kWorkers);
    std::sort(codes.begin(), codes.end());
    std::vector<int> expected(kWorkers, 1);
    expected[0] = 0;
    EXPECT_EQ(codes, expected) << "one last unregistration, the others only lower the count";
    EXPECT_FALSE(Exists(kClassKey));
    EXPECT_FALSE(Exists("RegistryWorker"));
    EXPECT_FALSE(Exists("CLSID")) << "no other class was registered";
    for (const char* extension : {"wa", "wb", "wc"}) {
        EXPECT_EQ(StringAt("Moniker\\worker", extension), std::nullopt);
    }
}

TEST_F(RegistryProcessTest, AKilledRegistrationNeverLeavesAHalfWrittenRecord) {
    constexpr int kRounds = 60;
    const unsigned seed = std::random_device()();
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> delayMicroseconds(0, 25000);
    for (int round = 0; round < kRounds; ++round) {
        int ready[2];
        ASSERT_EQ(pipe2(ready, O_CLOEXEC), 0);
        pid_t pid = SpawnWorker({"cycle"}, -1, ready[1]);
        close(ready[1]);
        ASSERT_GT(pid, 0);
        char byte;
        // A few rounds kill the worker before it starts: it may be making the file.
        if (round % 10 != 0) {
            ASSERT_EQ(read(ready[0], &byte, 1), 1);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(delayMicroseconds(random)));
        kill(pid, SIGKILL);
        EXPECT_EQ(WaitForExit(pid), 128 + SIGKILL) << "the worker must not fail on its own";
        close(ready[0]);
        if (!std::filesystem::exists(m_file)) continue;
        ExpectEveryRecordWhole("round " + std::to_string(round) + " (seed " + std::to_string(seed) + ")");
        if (HasFatalFailure()) return;
    }
    // The registry goes on working: one more registration adds exactly one.
    int before = IntegerAt(kClassKey + "\\InstallCount").value_or(0);
    EXPECT_EQ(RunTogether("register", 1), std::vector<int>({0}));
    EXPECT_EQ(IntegerAt(kClassKey + "\\InstallCount"), before + 1);
}

}  // namespace
