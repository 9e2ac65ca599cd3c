// Super class resolution and the cycle check.
#include "dictionary_supers.h"

#include "dictionary_messages.h"
#include "dictionary_names.h"
#include "dictionary_text.h"
#include "kesto/tnode.h"

namespace kesto {
namespace {

constexpr std::uint32_t kUnresolved = Dictionary::kNoClass;

// Depth first over the super classes of every class; an edge back to a class still
// on the stack closes a cycle. That edge is reported and not followed, and the walk
// goes on, so each cycle is reported once, at the reference that closes it. Iterative,
// so that a long chain cannot overflow the stack. `resolved` holds the class each
// reference resolved to, to find where the closing edge was written.
void FindCycles(const Dictionary& dictionary, const std::vector<SuperReference>& references,
                const std::vector<std::uint32_t>& resolved, std::size_t most, std::vector<SuperProblem>& problems) {
    const std::uint32_t count = dictionary.ClassCount();
    enum : std::uint8_t { kWhite, kGray, kBlack };
    std::vector<std::uint8_t> color(count, kWhite);
    struct Frame {
        std::uint32_t cls;
        std::size_t next;
    };
    std::vector<Frame> stack;
    for (std::uint32_t start = 0; start < count && problems.size() < most; ++start) {
        if (color[start] != kWhite) continue;
        stack.push_back({start, 0});
        color[start] = kGray;
        while (!stack.empty()) {
            Frame& top = stack.back();
            const auto& supers = dictionary.Class(top.cls).supers;
            if (top.next == supers.size()) {
                color[top.cls] = kBlack;
                stack.pop_back();
                continue;
            }
            const std::size_t nth = top.next++;
            const std::uint32_t super = supers[nth];
            if (color[super] == kWhite) {
                color[super] = kGray;
                stack.push_back({super, 0});
                continue;
            }
            if (color[super] != kGray) continue;
            // The classes on the stack from `super` up to the top form the cycle;
            // a message names its first few.
            std::size_t from = stack.size();
            while (stack[from - 1].cls != super) --from;
            std::vector<std::string> first;
            for (std::size_t i = from - 1; i < stack.size() && first.size() < messages::kCycleNamesShown; ++i)
                first.push_back(Utf16ToUtf8(dictionary.ClassName(stack[i].cls)));
            const std::size_t length = stack.size() - (from - 1);
            SuperProblem problem;
            problem.status = PARSE_E_COMPILE;
            problem.owner = top.cls;
            // The n-th super class of a class is its n-th reference that resolved.
            std::size_t left = nth;
            for (std::size_t i = 0; i < references.size(); ++i) {
                if (references[i].owner != top.cls || resolved[i] == kUnresolved) continue;
                if (left-- == 0) {
                    problem.offset = references[i].offset;
                    break;
                }
            }
            problem.what = messages::SuperCycle(first, length);
            problems.push_back(std::move(problem));
            if (problems.size() >= most) return;
        }
    }
}

}  // namespace

std::vector<SuperProblem> LinkSuperClasses(Dictionary& dictionary, const std::vector<SuperReference>& references,
                                           std::size_t most) {
    std::vector<SuperProblem> problems;
    auto& classes = dictionary.MutableClasses();
    std::vector<std::uint32_t> resolved;
    resolved.reserve(references.size());
    for (const SuperReference& reference : references) {
        const std::u16string_view name = dictionary.Text(reference.name);
        const std::uint32_t super = dictionary.FindClass(FullClassName(name, dictionary.ClassName(reference.owner)));
        resolved.push_back(super);
        if (super != kUnresolved) {
            classes[reference.owner].supers.push_back(super);
        } else if (problems.size() < most) {
            problems.push_back({TNODE_E_CLASSNOTEXIST, reference.offset, reference.owner,
                                messages::MissingSuper(Utf16ToUtf8(name))});
        }
    }
    if (problems.size() < most) FindCycles(dictionary, references, resolved, most, problems);
    return problems;
}

}  // namespace kesto
