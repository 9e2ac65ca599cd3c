// The tool's register, unregister and registry commands, run as a user runs them.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "registry/RegistryTestSupport.h"

namespace {

using namespace registry_test;

struct ToolRun {
    int exitCode;
    std::string out, err;
};

class RegistryCommandsTest : public ::testing::Test {
protected:
    ToolRun Tool(const std::string& arguments) {
        const std::string out = (m_folder.Path() / "out").string(), err = (m_folder.Path() / "err").string();
        int status = std::system(("'" VANTLE_TOOL_PATH "' " + arguments + " >'" + out + "' 2>'" + err + "'").c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(out), ReadFile(err)};
    }

    void ExpectIn(const std::string& text, const std::string& part) {
        EXPECT_NE(text.find(part), std::string::npos) << "missing: " << part << "\nin:\n" << text;
    }

    TempFolder m_folder;
    std::filesystem::path m_file = m_folder.Path() / "kesto" / "registry.db";
    ScopedEnv m_registryEnv{"KESTO_REGISTRY", m_file.string()};
};

TEST_F(RegistryCommandsTest, RegisterShowAndUnregister) {
    ExpectIn(Tool("registry").out, "not made yet");
    EXPECT_FALSE(std::filesystem::exists(m_file)) << "showing must not make the registry";
    ToolRun run = Tool("register");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    ExpectIn(run.out, "VantleAssist: installed 1 time");
    ExpectIn(Tool("register '" VANTLE_COMPONENT_PATH "'").out, "installed 2 times");
    {
        Ref<COM_IRegistry> registry;
        ASSERT_EQ(NewRegistry(registry), S_OK);
        ASSERT_EQ(registry->OpenRoot(2, W(u"")), S_OK);
        ASSERT_EQ(registry->CreateKey(W(u"Editor\\Fonts"), 1), S_OK);
        ASSERT_EQ(registry->SetStringValue(W(u"Quote"), W(u"say \"hi\"\\\n")), S_OK);
        ASSERT_EQ(registry->SetIntValue(W(u"Size"), -12), S_OK);
        ASSERT_EQ(registry->SetStringValue(W(u""), W(u"\u00E9")), S_OK);
        ASSERT_EQ(registry->Close(), S_OK);
    }
    run = Tool("registry");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    for (const char* part : {"Classes (root 1)\n  CLSID\n    {", "\n      (default) = \"VantleAssist\"\n",
                             "\n      InprocServer32\n        (default) = \"libvantleassist.so\"\n",
                             "\n      InstallCount\n        (default) = 2\n", "\n  VantleAssist\n    CLSID\n",
                             "\nSettings (root 2)\n  Editor\n    Fonts\n      (default) = \"\xC3\xA9\"\n"
                             "      Quote = \"say \\\"hi\\\"\\\\\\x0A\"\n      Size = -12\n"}) {
        ExpectIn(run.out, part);
    }
    EXPECT_EQ(Tool("unregister").exitCode, 0);
    run = Tool("unregister");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    ExpectIn(run.out, "not registered");
}

TEST_F(RegistryCommandsTest, EachFailureIsExplainedWithItsMessage) {
    const std::string noEntry = std::string(REGISTRY_TEST_MODULE_DIR) + "/libregistry_test_module_noentry.so";
    const std::pair<std::string, std::string> cases[] = {
        {"unregister", "is not registered: Key is missing from the registry [80040152]"},
        {"register '" + (m_folder.Path() / "none.so").string() + "'", "Couldn't find DLL [800401F8]"},
        {"unregister '" + noEntry + "'", "Entry point not found in DLL [800401F9]"},
    };
    for (const auto& [arguments, message] : cases) {
        ToolRun run = Tool(arguments);
        EXPECT_EQ(run.exitCode, 1) << arguments;
        ExpectIn(run.err, message);
    }
    std::filesystem::create_directories(m_file.parent_path());
    WriteFile(m_file, "precious notes");
    for (const char* arguments : {"register", "unregister", "registry"}) {
        ToolRun run = Tool(arguments);
        EXPECT_EQ(run.exitCode, 1) << arguments;
        ExpectIn(run.err, "Could not read from the registry [80040150]");
    }
    EXPECT_EQ(ReadFile(m_file), "precious notes");
}

}  // namespace
