// Feeds texts to every value type that has a name.
//
// The input is a text; or, parted by the byte 0x1F, a text for the value to start with and one that
// is read over it. What can't be read must leave the value as it was, and what was read must have a
// text that is read back to itself.

#include <sorrel/TypedSlotCreator.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using Mirk::TextResult;
using Mirk::VValueCreator;
using Mirk::VValuePtr;
using CreatorPtr = Keel::StrongPtr<VValueCreator>;

namespace {

[[noreturn]] void fail(const std::string& typeName, const char* what, const std::string& expected,
                       const std::string& got) {
    std::fprintf(stderr, "%s: %s: expected \"%s\", got \"%s\"\n", typeName.c_str(), what,
                 expected.c_str(), got.c_str());
    std::abort();
}

/// Whether a value was that already when it is assigned to itself, bit for bit. Of some types each
/// write is a change.
bool knowsItself(const VValuePtr& value) {
    return !value->clone()->assign(*value);
}

void readOver(const std::string& typeName, const VValuePtr& value, const std::string& text) {
    const VValuePtr before = value->clone();
    const std::string textBefore = value->text();
    if (value->setText(text) != TextResult::Unreadable) return;
    if (value->text() != textBefore) {
        fail(typeName, "an unreadable text has changed the value", textBefore, value->text());
    }
    if (knowsItself(before) && value->assign(*before)) {
        fail(typeName, "an unreadable text has changed bits of the value", textBefore, textBefore);
    }
}

struct Type {
    std::string name;
    CreatorPtr creator;
    /// Some types have a fixed text, which none of them reads.
    bool isReadable = false;
};

std::vector<Type> allTypes() {
    std::vector<Type> types;
    for (const std::string& name : VValueCreator::typeNames()) {
        const CreatorPtr creator = VValueCreator::find(name);
        const VValuePtr value = creator->create();
        types.push_back({name, creator, value->setText(value->text()) != TextResult::Unreadable});
    }
    return types;
}

void readBack(const Type& type, const VValuePtr& value) {
    const std::string text = value->text();
    const VValuePtr back = type.creator->create();
    if (back->setText(text) == TextResult::Unreadable) {
        fail(type.name, "a value does not read its own text", text, "an unreadable text");
    }
    if (back->text() != text) {
        fail(type.name, "a text is read back as another value", text, back->text());
    }
}

void feed(const Type& type, const std::string& start, const std::string& text) {
    const VValuePtr value = type.creator->create();
    readOver(type.name, value, start);
    readOver(type.name, value, text);
    if (type.isReadable) readBack(type, value);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::vector<Type> types = allTypes();
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::size_t end = input.find('\x1f');
    const bool hasStart = end != std::string::npos;
    const std::string start = hasStart ? input.substr(0, end) : std::string();
    const std::string text = hasStart ? input.substr(end + 1) : input;
    for (const Type& type : types) feed(type, start, text);
    return 0;
}
