#include <Faults.hpp>

#include <onOneLine.hpp>

#include <map>

namespace Shell {

namespace {

using Names = std::vector<std::string>;

std::string listOf(const Names& names) {
    std::string list;
    for (const std::string& name : names) list += (list.empty() ? "" : ", ") + onOneLine(name);
    return list;
}

} // namespace

std::vector<std::string> Faults::follow(const std::vector<Fault>& faults,
                                        const std::vector<State>& states) {
    std::vector<std::string> messages;
    // Objects of one kind have the same shaders, and so the same faults.
    std::map<std::string, Names> asBefore, notAtAll;
    for (const Fault& fault : faults) {
        (fault.isDrawnAsBefore ? asBefore : notAtAll)[fault.words].push_back(fault.object);
        if (fault.isOfShaders) _ofShaders.insert(fault.object);
    }
    for (const auto& [words, names] : asBefore) {
        messages.push_back("still drawing " + listOf(names) + " as before: " + words);
    }
    for (const auto& [words, names] : notAtAll) {
        messages.push_back("cannot draw " + listOf(names) + ": " + words);
    }
    Names mended, others;
    for (const State& state : states) {
        if (state.hasReport) {
            _reported.insert(state.object);
        } else if (_reported.erase(state.object) > 0) {
            const bool wereShaders = _ofShaders.erase(state.object) > 0;
            (wereShaders ? mended : others).push_back(state.object);
        }
    }
    if (!mended.empty()) {
        messages.push_back("drawing " + listOf(mended) + " anew: the shaders are good again");
    }
    if (!others.empty()) messages.push_back("drawing " + listOf(others) + " again");
    return messages;
}

} // namespace Shell
