// The tool's register, unregister and registry commands, run as a user runs them.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>

#include "kesto/registry.h"
#include "registry/RegistryTestSupport.h"

namespace {

using registry_test::ReadFile;
using registry_test::Ref;
using registry_test::ScopedEnv;
using registry_test::TempFolder;
using registry_test::Wide;
using registry_test::WriteFile;

const std::string kTool = VANTLE_TOOL_PATH;
const std::string kComponent = VANTLE_COMPONENT_PATH;

struct ToolRun {
    int exitCode;
    std::string out, err;
};

class RegistryCommandsTest : public ::testing::Test {
protected:
    ToolRun Tool(const std::string& arguments) {
        const std::filesystem::path out = m_folder.Path() / "out.txt", err = m_folder.Path() / "err.txt";
        const std::string command = "'" + kTool + "' " + arguments + " >'" + out.string() + "' 2>'" + err.string() + "'";
        int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(out), ReadFile(err)};
    }

    TempFolder m_folder;
    std::filesystem::path m_file = m_folder.Path() / "kesto" / "registry.db";
    ScopedEnv m_registryEnv{"KESTO_REGISTRY", m_file.string()};
};

TEST_F(RegistryCommandsTest, RegisterShowAndUnregister) {
    ToolRun run = Tool("registry");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_NE(run.out.find("not made yet"), std::string::npos) << run.out;
    EXPECT_FALSE(std::filesystem::exists(m_file)) << "showing must not make the registry";

    run = Tool("register");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("VantleAssist: installed 1 time"), std::string::npos) << run.out;
    run = Tool("register '" + kComponent + "'");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("installed 2 times"), std::string::npos) << run.out;

    run = Tool("registry");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    for (const char* line : {"Classes (root 1)\n  CLSID\n    {", "\n      (default) = \"VantleAssist\"\n",
                             "\n      InprocServer32\n        (default) = \"libvantleassist.so\"\n",
                             "\n      InstallCount\n        (default) = 2\n", "\n  VantleAssist\n    CLSID\n",
                             "\nSettings (root 2)\n"}) {
        EXPECT_NE(run.out.find(line), std::string::npos) << "missing: " << line << "\nin:\n" << run.out;
    }

    EXPECT_EQ(Tool("unregister").exitCode, 0);
    run = Tool("unregister");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("not registered"), std::string::npos) << run.out;
    run = Tool("unregister");
    EXPECT_NE(run.exitCode, 0);
    EXPECT_NE(run.err.find("is not registered: Key is missing from the registry [80040152]"), std::string::npos)
        << run.err;
}

TEST_F(RegistryCommandsTest, EachFailureIsExplainedWithItsMessage) {
    const std::string noEntryModule = std::string(REGISTRY_TEST_MODULE_DIR) + "/libregistry_test_module_noentry.so";
    struct Case {
        const char* what;
        std::string arguments;
        std::string message;
    };
    const Case cases[] = {
        {"missing module", "register '" + (m_folder.Path() / "none.so").string() + "'",
         "Couldn't find DLL [800401F8]"},
        {"not a server", "unregister '" + noEntryModule + "'", "Entry point not found in DLL [800401F9]"},
    };
    for (const Case& c : cases) {
        ToolRun run = Tool(c.arguments);
        EXPECT_EQ(run.exitCode, 1) << c.what;
        EXPECT_NE(run.err.find(c.message), std::string::npos) << c.what << ": " << run.err;
    }
}

TEST_F(RegistryCommandsTest, AFileThatIsNotARegistryIsReportedAndKept) {
    std::filesystem::create_directories(m_file.parent_path());
    WriteFile(m_file, "precious notes");
    for (const char* arguments : {"register", "unregister", "registry"}) {
        ToolRun run = Tool(arguments);
        EXPECT_EQ(run.exitCode, 1) << arguments;
        EXPECT_NE(run.err.find("Could not read from the registry [80040150]"), std::string::npos)
            << arguments << ": " << run.err;
    }
    EXPECT_EQ(ReadFile(m_file), "precious notes");
}

TEST_F(RegistryCommandsTest, ShowsEveryValueReadably) {
    {
        Ref<COM_IRegistry> registry;
        ASSERT_EQ(COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry, registry.Out()), S_OK);
        ASSERT_EQ(registry->OpenRoot(2, Wide(u"")), S_OK);
        ASSERT_EQ(registry->CreateKey(Wide(u"Editor\\Fonts"), 1), S_OK);
        ASSERT_EQ(registry->SetStringValue(Wide(u"Quote"), Wide(u"say \"hi\"\\\n")), S_OK);
        ASSERT_EQ(registry->SetIntValue(Wide(u"Size"), -12), S_OK);
        ASSERT_EQ(registry->SetStringValue(Wide(u""), Wide(u"\u00E9")), S_OK);
        ASSERT_EQ(registry->Close(), S_OK);
    }
    ToolRun run = Tool("registry");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("Settings (root 2)\n  Editor\n    Fonts\n      (default) = \"\xC3\xA9\"\n"
                           "      Quote = \"say \\\"hi\\\"\\\\\\x0A\"\n      Size = -12\n"),
              std::string::npos)
        << run.out;
}

}  // namespace
