#include <lightOptions.hpp>

#include <UsageError.hpp>
#include <optionValues.hpp>

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

namespace Shell {

namespace {

using Text = const std::string&;

struct Kind {
    LightKind kind;
    const char* name;
};
constexpr Kind kinds[] = {{LightKind::ambient, "ambient"},
                          {LightKind::headlight, "headlight"},
                          {LightKind::directional, "directional"},
                          {LightKind::positional, "positional"},
                          {LightKind::spot, "spot"}};

const char* nameOf(LightKind kind) {
    return std::find_if(std::begin(kinds), std::end(kinds),
                        [&](const Kind& each) { return each.kind == kind; })
        ->name;
}

bool comesFromSomewhere(LightKind kind) {
    return kind != LightKind::ambient;
}
bool isSomewhere(LightKind kind) {
    return kind == LightKind::positional || kind == LightKind::spot;
}
bool hasDirection(LightKind kind) {
    return kind == LightKind::directional || kind == LightKind::spot;
}
bool isSpot(LightKind kind) {
    return kind == LightKind::spot;
}

/// What can be told of a light.
struct Parameter {
    const char* name;
    /// Null for all.
    bool (*isOf)(LightKind kind);
    bool isNeeded;
    /// Throws the UsageError of a value under the name that is told.
    void (*take)(LightOptions& light, Text told, Text text);
};

double factorOf(Text told, Text text) {
    return number({told, text, "a number from 0 to 1e30"}, 0, 1e30);
}

const Parameter parameters[] = {
    {"color", nullptr, false,
     [](LightOptions& light, Text told, Text text) { light.color = colorOf(told, text); }},
    {"intensity", nullptr, false,
     [](LightOptions& light, Text told, Text text) {
         light.intensity = number({told, text, "a number from 0 to 1e15"}, 0, 1e15);
     }},
    {"specular", comesFromSomewhere, false,
     [](LightOptions& light, Text told, Text text) {
         light.specular = number({told, text, "a number from 0 to 1000"}, 0, 1000);
     }},
    {"position", isSomewhere, true,
     [](LightOptions& light, Text told, Text text) { light.position = pointOf(told, text); }},
    {"direction", hasDirection, true,
     [](LightOptions& light, Text told, Text text) { light.direction = vectorOf(told, text); }},
    {"constant", isSomewhere, false,
     [](LightOptions& light, Text told, Text text) { light.constant = factorOf(told, text); }},
    {"linear", isSomewhere, false,
     [](LightOptions& light, Text told, Text text) { light.linear = factorOf(told, text); }},
    {"quadratic", isSomewhere, false,
     [](LightOptions& light, Text told, Text text) { light.quadratic = factorOf(told, text); }},
    {"cone", isSpot, false,
     [](LightOptions& light, Text told, Text text) {
         light.coneDegrees = number({told, text, "degrees from 0 to 180"}, 0, 180);
     }},
    {"exponent", isSpot, false,
     [](LightOptions& light, Text told, Text text) {
         light.exponent = number({told, text, "a number from 0 to 1000"}, 0, 1000);
     }},
};

std::vector<const Parameter*> parametersOf(LightKind kind) {
    std::vector<const Parameter*> result;
    for (const Parameter& each : parameters) {
        if (each.isOf == nullptr || each.isOf(kind)) result.push_back(&each);
    }
    return result;
}

/// "a, b or c".
std::string listOf(const std::vector<std::string>& words) {
    std::string list;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const char* const between = i + 1 < words.size() ? ", " : " or ";
        list += (i == 0 ? "" : between) + words[i];
    }
    return list;
}

LightKind kindOf(Text option, Text text) {
    std::vector<std::string> names;
    for (const Kind& each : kinds) {
        if (text == each.name) return each.kind;
        names.push_back("'" + std::string(each.name) + "'");
    }
    Value{option, text, listOf(names) + ", with : behind it for what is told of the light"}
        .refuse();
}

/// A text between commas that has a name of its own, with those behind it that have none: values
/// have commas, too.
std::vector<std::string> itemsOf(Text text) {
    std::vector<std::string> items;
    std::size_t begin = 0;
    for (;;) {
        const std::size_t comma = text.find(',', begin);
        const std::string word = text.substr(begin, comma - begin);
        if (items.empty() || word.find('=') != std::string::npos) {
            items.push_back(word);
        } else {
            items.back() += "," + word;
        }
        if (comma == std::string::npos) return items;
        begin = comma + 1;
    }
}

const Parameter& parameterOf(Text option, LightKind kind, Text name) {
    std::vector<std::string> names;
    for (const Parameter* const each : parametersOf(kind)) {
        if (name == each->name) return *each;
        names.emplace_back(each->name);
    }
    Value{option, name, listOf(names) + " of " + nameOf(kind)}.refuse();
}

} // namespace

LightOptions lightOf(const std::string& option, const std::string& text) {
    const std::size_t colon = text.find(':');
    LightOptions light;
    light.kind = kindOf(option, text.substr(0, colon));
    const std::string kind = nameOf(light.kind);
    std::set<std::string> given;
    for (const std::string& item : colon == std::string::npos ? std::vector<std::string>()
                                                              : itemsOf(text.substr(colon + 1))) {
        const std::size_t equals = item.find('=');
        if (equals == std::string::npos) {
            Value{option, item, "NAME=VALUE behind " + kind + ":"}.refuse();
        }
        const Parameter& parameter = parameterOf(option, light.kind, item.substr(0, equals));
        const std::string told = option + ": " + parameter.name + " of " + kind;
        if (!given.insert(parameter.name).second) {
            throw UsageError(told + ": expected once, got it twice");
        }
        parameter.take(light, told, item.substr(equals + 1));
    }
    for (const Parameter* const each : parametersOf(light.kind)) {
        if (!each->isNeeded || given.contains(each->name)) continue;
        throw UsageError(option + ": expected " + each->name + "=X,Y,Z of " + kind + ", got none");
    }
    if (light.constant + light.linear + light.quadratic == 0.0) {
        throw UsageError(option + ": expected constant, linear or quadratic of " + kind +
                         " above 0, got 0 for all");
    }
    return light;
}

std::string helpOfLights() {
    std::string help;
    for (const Kind& kind : kinds) {
        std::vector<std::string> names;
        for (const Parameter* const each : parametersOf(kind.kind)) {
            names.push_back(std::string(each->name) + (each->isNeeded ? " (needed)" : ""));
        }
        std::string list;
        for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
        help += (help.empty() ? "" : "; ") + std::string(kind.name) + ": " + list;
    }
    return help;
}

} // namespace Shell
