// The tour: each query a user would try on the bundled dictionary, with the
// command that asks it.
#include "Demo.h"

#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <sstream>

#include "QueryCommands.h"
#include "ToolCommandTable.h"
#include "ToolText.h"

namespace vantle::tool {
namespace {

struct DemoStep {
    const char* heading;  // NULL: continues the section before
    const char* command;  // as typed after "vantle-assist"
};

const DemoStep kSteps[] = {
    {"Which classes does the package Shop hold?", "classes Shop."},
    {"The completion list of an order (markers from --extended: class method, private)",
     "members Shop.Order --extended"},
    {"Properties, class parameters and internal members too (flags 4 + 8 + 16)", "members Shop.Order --flags 28"},
    {"Only what a class defines itself, nothing inherited", "members Shop.ExpressOrder --no-inherited --extended"},
    {"A data-type class is listed only when flag 32 allows it", "members %Text --flags 7"},
    {nullptr, "members %Text --flags 39"},
    {"What does a member yield?", "type Shop.Order Save"},
    {nullptr, "type Shop.Order Lines"},
    {nullptr, "type Shop.Order Customer"},
    {nullptr, "type Shop.Customer Tags"},
    {nullptr, "type Shop.Customer Phones"},
    {nullptr, "type Shop.Line Order"},
    {"Method signatures, whole and with the argument under the cursor singled out", "signature Shop.Order Save"},
    {nullptr, "signature Shop.Order Save 2"},
    {nullptr, "signature Shop.Cart Checkout 3"},
    {nullptr, "signature Shop.Report Export"},
    {nullptr, "signature Shop.Report Trend 4"},
    {"Where does a member come from? (five levels of inheritance, two super classes)",
     "origin Shop.ExpressOrder Print"},
    {nullptr, "origin Shop.ExpressOrder Touch"},
    {nullptr, "origin Shop.ExpressOrder Describe"},
    {nullptr, "origin Shop.ExpressOrder %Save"},
    {nullptr, "origin Shop.Order Trail 5"},
    {nullptr, "origin Shop.Order STORAGE 10"},
    {"Short class names: relative to the class being edited, then the import list",
     "type Order Lines --relative Shop.Invoice"},
    {nullptr, "members Format --import Util --flags 1"},
    {"For programs: the same answers as JSON", "signature Shop.Order Save 1 --json"},
};

}  // namespace

int RunDemo(ServiceSession& session, const CommandLine& line, std::ostream& out, std::ostream& err) {
    const bool terminal = &out == &std::cout && isatty(STDOUT_FILENO) && std::getenv("NO_COLOR") == nullptr;
    const std::string bold = terminal ? "\x1b[1m" : "", dim = terminal ? "\x1b[2m" : "",
                      plain = terminal ? "\x1b[0m" : "";
    out << bold << "A tour of the code-assistance service" << plain << " (dictionary: "
        << (line.dictionary.empty() ? "the bundled shop library" : line.dictionary) << ", service: " << session.Origin()
        << ")\n";
    int worst = 0;
    for (const DemoStep& step : kSteps) {
        CommandLine parsed;
        std::string error;
        if (!ParseCommandLine(SplitWords(step.command), &parsed, &error)) {
            err << "demo step \"" << step.command << "\": " << error << "\n";
            worst = 1;
            continue;
        }
        if (step.heading != nullptr) out << "\n" << bold << step.heading << plain << "\n";
        out << dim << "  $ vantle-assist " << step.command << plain << "\n";
        // Settings of a step hold for that step only.
        if (!parsed.relative.empty()) session.SetRelativeClass(parsed.relative);
        if (!parsed.imports.empty()) session.SetImportList(parsed.imports);
        if (parsed.noInherited) session.SetIncludeInherited(false);
        std::ostringstream answer;
        QueryStyle style;
        style.json = parsed.json;
        style.highlight = terminal;
        QueryCommands queries(session, answer, err, style);
        int status = std::get<QueryHandler>(FindToolCommand(parsed.command)->handler)(queries, parsed, err);
        if (status > worst) worst = status;
        std::istringstream lines(answer.str());
        for (std::string text; std::getline(lines, text);) out << "    " << text << "\n";
        if (!parsed.relative.empty()) session.SetRelativeClass("");
        if (!parsed.imports.empty()) session.SetImportList("");
        if (parsed.noInherited) session.SetIncludeInherited(true);
    }
    return worst;
}

}  // namespace vantle::tool
