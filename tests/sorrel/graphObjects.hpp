#pragma once
// Objects and value types with which graphs are tested; stands on sorrel.

#include <sorrel/Module.hpp>
#include <sorrel/TypedSlot.hpp>
#include <sorrel/textForm.hpp>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace GraphTest {

/// Numbers, as they are parted in their text.
template<char separator>
struct Numbers {
    std::vector<double> values;
};
using Row = Numbers<' '>;
using CommaRow = Numbers<','>;

/// A type that no file can hold.
struct Handle {
    int value = 0;
};

} // namespace GraphTest

template<char separator>
struct Mirk::VValueTrait<GraphTest::Numbers<separator>> {
    static std::string Text(const GraphTest::Numbers<separator>& numbers) {
        std::string text;
        for (const double number : numbers.values) {
            if (!text.empty()) text += separator == ' ' ? " " : ", ";
            text += VValueTrait<double>::Text(number);
        }
        return text;
    }
    static bool setValueFromText(GraphTest::Numbers<separator>& numbers, const std::string& text) {
        std::vector<std::string_view> words;
        if (!splitWords(text, words)) return false;
        std::vector<double> values(words.size());
        for (std::size_t i = 0; i < words.size(); ++i) {
            if (!VValueTrait<double>::setValueFromText(values[i], std::string(words[i])))
                return false;
        }
        numbers.values = values;
        return true;
    }
};

namespace GraphTest {

/// An input and an output of each kind.
class Everything : public Mirk::VObject {
public:
    Everything(const std::string& objectName, int p, const PreferencesPtr& prefs)
        : Mirk::VObject(objectName, p, prefs) {
        local->parameter()->Localize();
        addSetup([this](const Mirk::VSlotSet& connected) {
            ++setups;
            connectedAtSetup = connected.size();
            widthAtSetup = width.value({});
        });
    }

    Mirk::TypedSlot<bool> visible{this, "visible", true, 0};
    Mirk::TypedSlot<int> count{this, "count", 3, 0};
    Mirk::TypedSlot<double> width{this, "width", 1.5, 0};
    Mirk::TypedSlot<std::string> title{this, "title", "untitled", 0};
    Mirk::TypedSlot<Row> color{this, "color", Row{{1, 1, 1}}, 0};
    Mirk::TypedSlot<CommaRow> range{this, "range", CommaRow{{0, 1}}, 0};
    Mirk::TypedSlot<Handle> handle{this, "handle", Handle{}, 0};
    Mirk::TypedSlot<bool> local{this, "local", true, 0};
    Mirk::VOutput<double> length{this, "length", 2};
    Mirk::VOutput<double> area{this, "area", 4};
    Mirk::VOutput<std::string> text{this, "text", ""};

    int setups = 0;
    std::size_t connectedAtSetup = 0;
    double widthAtSetup = 0;
};

class Refusing : public Everything {
public:
    Refusing(const std::string& objectName, int p, const PreferencesPtr& prefs)
        : Everything(objectName, p, prefs) {
        addConnectionValidator([](const Mirk::VSlot&, const Mirk::VParameter&) { return false; });
        addSetup([](const Mirk::VSlotSet&) { throw std::runtime_error("no setup today"); });
    }
};

class Failing : public Everything {
public:
    Failing(const std::string& objectName, int p, const PreferencesPtr& prefs)
        : Everything(objectName, p, prefs) {
        throw std::runtime_error("not today");
    }
};

/// The types, and the creator of objects without faults, as long as this lives.
struct Registrations {
    Mirk::ValueTypeRegistration<Row> row{"Row"};
    Mirk::ValueTypeRegistration<CommaRow> commaRow{"CommaRow"};
    Mirk::ValueTypeRegistration<Handle> handle{"Handle"};
    Mirk::CreatorRegistration<Mirk::VCreator<Everything>> everything{
        "Everything", "", Mirk::VCreatorBase::PreferencesPtr()};
};

/// The creators of objects with faults.
struct FaultyRegistrations {
    Mirk::CreatorRegistration<Mirk::VCreator<Refusing>> refusing{
        "Refusing", "", Mirk::VCreatorBase::PreferencesPtr()};
    Mirk::CreatorRegistration<Mirk::VCreator<Failing>> failing{
        "Failing", "", Mirk::VCreatorBase::PreferencesPtr()};
};

} // namespace GraphTest
