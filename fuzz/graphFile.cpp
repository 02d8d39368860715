// Loads bytes as a file of a graph. What could be read of it must be written, read and written
// again without a message, to the same text.

#include "../tests/sorrel/graphObjects.hpp"

#include <sorrel/GraphFile.hpp>
#include <sorrel/VActionNotifier.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace Mirk;

void check(bool condition, const char* what, const std::string& text) {
    if (condition) return;
    std::fprintf(stderr, "%s:\n%s\n", what, text.c_str());
    std::abort();
}

struct Result {
    bool isGraph = false;
    std::size_t messages = 0;
    std::string text;
};

/// Loads into new pools, saves, and lets go of all objects.
Result loadAndSave(const std::string& text) {
    const GraphFile file(
        {{"left", ValuePoolPtr(new ValuePool)}, {"right", ValuePoolPtr(new ValuePool)}});
    GraphFile::Loaded loaded = file.loadText(text, "fuzz");
    check(loaded.isGraph || (loaded.messages.size() == 1 && loaded.objects.empty() &&
                             VActionNotifier::objects().empty()),
          "what is no graph is one message, and changes nothing", text);
    check(VActionNotifier::objects().size() == loaded.objects.size(), "all objects are announced",
          text);
    std::vector<VObjectPtr> objects;
    for (const auto& [name, object] : loaded.objects) {
        check(object->Name() == name, "an object has its name", text);
        objects.push_back(object);
    }
    std::vector<GraphFile::Message> messages;
    Result result{loaded.isGraph, loaded.messages.size(), file.text(objects, "fuzz", messages)};
    check(messages.empty(), "everything can be written", text);
    VActionNotifier::clear();
    return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const GraphTest::Registrations registrations;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const Result first = loadAndSave(text);
    if (!first.isGraph) return 0;
    const Result second = loadAndSave(first.text);
    check(second.isGraph && second.messages == 0, "what was written can be read", first.text);
    check(second.text == first.text, "what was written is written again", first.text + second.text);
    return 0;
}
