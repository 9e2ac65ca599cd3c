// The tour of a dictionary.
#include "Demo.h"

#include <filesystem>
#include <sstream>

#include "ToolCommandTable.h"
#include "ToolExit.h"
#include "ToolText.h"

namespace vantle::tool {
namespace {

struct DemoStep {
    std::string heading;  // empty: continues the section before
    std::string command;  // as typed after "vantle-assist"
};

const DemoStep kShopSteps[] = {
    {"Which classes does the package Shop hold?", "classes Shop."},
    {"The completion list of an order (markers from --extended: class method, private)",
     "members Shop.Order --extended"},
    {"Properties, class parameters and internal members too (flags 4 + 8 + 16)", "members Shop.Order --flags 28"},
    {"Only what a class defines itself, nothing inherited", "members Shop.ExpressOrder --no-inherited --extended"},
    {"A data-type class is listed only when flag 32 allows it", "members %Text --flags 39"},
    {"What does a member yield?", "type Shop.Order Save"},
    {"", "type Shop.Order Lines"},
    {"", "type Shop.Order Customer"},
    {"", "type Shop.Customer Tags"},
    {"", "type Shop.Customer Phones"},
    {"", "type Shop.Line Order"},
    {"Method signatures, whole and with the argument under the cursor singled out", "signature Shop.Order Save"},
    {"", "signature Shop.Order Save 2"},
    {"", "signature Shop.Cart Checkout 3"},
    {"", "signature Shop.Report Export"},
    {"", "signature Shop.Report Trend 4"},
    {"Where does a member come from? (five levels of inheritance, two super classes)",
     "origin Shop.ExpressOrder Print"},
    {"", "origin Shop.ExpressOrder Touch"},
    {"", "origin Shop.ExpressOrder Describe"},
    {"", "origin Shop.ExpressOrder %Save"},
    {"", "origin Shop.Order Trail --kind property"},
    {"", "origin Shop.Order STORAGE --kind parameter"},
    {"Short class names: relative to the class being edited, then the import list",
     "type Order Lines --relative Shop.Invoice"},
    {"", "members Format --import Util --flags 1"},
    {"Mistakes get a hint", "type Shop.Ordr Save"},
    {"For programs: the same answers as JSON", "signature Shop.Order Save 1 --json"},
};

// A tour of any dictionary: its classes, then a class with methods and properties.
std::vector<DemoStep> StepsFor(ServiceSession& session) {
    std::vector<DemoStep> steps{{"Which classes does the dictionary hold?", "classes"}};
    std::string methodClass, method, propertyClass, property;
    for (const std::string& name : session.ClassNames()) {
        if (method.empty()) {
            std::vector<std::string> methods = session.MemberNames(name, MEMBER_CLASSMETHODS | MEMBER_INSTANCEMETHODS);
            if (!methods.empty()) methodClass = name, method = methods.front();
        }
        if (property.empty()) {
            std::vector<std::string> properties = session.MemberNames(name, MEMBER_PROPERTIES);
            if (!properties.empty()) propertyClass = name, property = properties.front();
        }
        if (!method.empty() && !property.empty()) break;
    }
    if (!methodClass.empty()) {
        steps.push_back({"The completion list of " + methodClass, "members " + methodClass + " --extended"});
        steps.push_back({"What does a method yield, and how is it called?", "type " + methodClass + " " + method});
        steps.push_back({"", "signature " + methodClass + " " + method + " 1"});
        steps.push_back({"Where does it come from?", "origin " + methodClass + " " + method});
    }
    if (!propertyClass.empty()) {
        steps.push_back({"A property", "type " + propertyClass + " " + property});
        steps.push_back({"", "origin " + propertyClass + " " + property + " --kind property"});
        steps.push_back({"For programs: the same answers as JSON", "type " + propertyClass + " " + property + " --json"});
    }
    return steps;
}

}  // namespace

int RunDemo(const CommandLine&, ServiceSession* session, Reply& reply) {
    std::error_code error;
    const bool bundled = std::filesystem::equivalent(session->Settings().dictionaryPath, BundledDictionaryPath(), error);
    const std::vector<DemoStep> steps =
        bundled ? std::vector<DemoStep>(std::begin(kShopSteps), std::end(kShopSteps)) : StepsFor(*session);
    const bool color = reply.Style().color;
    const std::string bold = color ? "\x1b[1m" : "", dim = color ? "\x1b[2m" : "", plain = color ? "\x1b[0m" : "";
    reply.Text() << bold << "A tour of the code-assistance service" << plain << " (dictionary: "
                 << (bundled ? std::string("the bundled shop library") : session->Settings().dictionaryPath)
                 << ", service: " << session->Origin() << ")\n";
    reply.Document()["dictionary"] = session->Settings().dictionaryPath;
    reply.Document()["service"] = session->Origin();
    Json documents = Json::array();
    for (const DemoStep& step : steps) {
        CommandLine parsed;
        UsageError error;
        if (!ParseCommandLine(SplitWords(step.command), &parsed, &error)) {
            reply.Fail(kExitInternal, "demo step \"" + step.command + "\": " + error.message);
            continue;
        }
        if (!step.heading.empty()) reply.Text() << "\n" << bold << step.heading << plain << "\n";
        reply.Text() << dim << "  $ vantle-assist " << step.command << plain << "\n";
        // Settings of a step hold for that step only.
        const SessionSettings before = session->Settings();
        if (parsed.relative) session->SetRelativeClass(*parsed.relative);
        if (parsed.imports) session->SetImportList(*parsed.imports);
        if (parsed.noInherited) session->SetIncludeInherited(false);
        std::ostringstream answer, problems;
        Reply stepReply(answer, problems, parsed.json || reply.IsJson(), parsed.command, reply.Style());
        const int status = FindToolCommand(parsed.command)->run(parsed, session, stepReply);
        stepReply.Emit();
        // A step that shows a mistake on purpose does not make the tour fail.
        if (status != kExitNotFound) reply.Raise(status);
        if (reply.IsJson()) {
            documents.push_back(Json{{"heading", step.heading.empty() ? Json(nullptr) : Json(step.heading)},
                                     {"commandLine", "vantle-assist " + step.command},
                                     {"answer", Json::parse(answer.str(), nullptr, false)}});
        }
        std::istringstream lines(answer.str() + problems.str());
        for (std::string text; std::getline(lines, text);) reply.Text() << "    " << text << "\n";
        if (parsed.relative) session->SetRelativeClass(before.relativeClass);
        if (parsed.imports) session->SetImportList(before.importList);
        if (parsed.noInherited) session->SetIncludeInherited(before.includeInherited);
    }
    reply.Document()["steps"] = std::move(documents);
    return reply.ExitCode();
}

}  // namespace vantle::tool
