#include <sorrel/GraphFile.hpp>

#include <sorrel/TypedSlotCreator.hpp>
#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VCreatorBase.hpp>
#include <sorrel/spelling.hpp>
#include <sorrel/valueText.hpp>
#include <sorrel/yamlTree.hpp>
#include <sorrel/yamlWriter.hpp>

#include <keel/File.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <exception>
#include <functional>
#include <optional>
#include <unordered_map>

namespace Mirk {

namespace {

using Messages = std::vector<GraphFile::Message>;

std::string quoted(const std::string& text) {
    constexpr std::size_t Shown = 60;
    return '"' + (text.size() <= Shown ? text : text.substr(0, Shown) + "...") + '"';
}

/// The objects of one file by the names that they have in it.
class ObjectNames {
public:
    /// What stands for an output in a file: an object, and its output or "" for the only one.
    struct Output {
        VObjectPtr object;
        std::string name;
        VParameterPtr parameter;
    };

    /// Null is an object that could not be made.
    void add(const std::string& name, const VObjectPtr& object) { _objects[name] = object; }

    const VObjectPtr* find(const std::string& name) const {
        const auto found = _objects.find(name);
        return found != _objects.end() ? &found->second : nullptr;
    }

    static VParameterPtr outputOf(const VObjectPtr& object, const std::string& name) {
        const VSlotPtr output = object->findOutput(name);
        return output ? output->parameter() : VParameterPtr();
    }

    /// "object.output", where either name may have dots in it: the longest name of an object that
    /// has such an output counts.
    VParameterPtr resolve(const std::string& reference) const {
        if (reference.size() > LongestReference) return {};
        for (std::size_t dot = reference.rfind('.'); dot != std::string::npos;
             dot = dot > 0 ? reference.rfind('.', dot - 1) : std::string::npos) {
            const VObjectPtr* const object = find(reference.substr(0, dot));
            if (object == nullptr || !*object) continue;
            if (VParameterPtr output = outputOf(*object, reference.substr(dot + 1))) return output;
        }
        return {};
    }

    /// The only output of a type of an object; null if there are none or several.
    static VParameterPtr onlyOutput(const VObjectPtr& object, const std::type_info& type) {
        VParameterPtr only;
        for (const VSlotPtr& output : object->outputs()) {
            if (output->valueType() != type) continue;
            if (only) return {};
            only = output->parameter();
        }
        return only;
    }

private:
    /// Bounds the search, which tries every dot.
    static constexpr std::size_t LongestReference = 1000;

    std::unordered_map<std::string, VObjectPtr> _objects;
};

std::vector<std::string> namesOf(const std::vector<VSlotPtr>& slots) {
    std::vector<std::string> names;
    for (const VSlotPtr& slot : slots) names.push_back(slot->Name());
    return names;
}

/// What the loader knows of one object of the file.
struct LoadedObject {
    std::string name;
    const YamlNode* node = nullptr;
    std::size_t line = 0;
    VObjectPtr object;
    Keel::StrongPtr<VCreatorBase> creator;
    VSlotSet connected;
};

struct PendingConnection {
    LoadedObject& owner;
    VSlotPtr input;
    const YamlNode& from;
};

class GraphLoader {
public:
    GraphLoader(const GraphFile::Pools& pools, const std::string& fileName,
                const Keel::Intercube& context)
        : _pools(pools), _fileName(fileName), _context(context) {}

    GraphFile::Loaded load(const std::string& text) {
        const auto root = parseYaml(text, [&](std::size_t line, const std::string& what) {
            _loaded.messages.push_back({_fileName, line, what});
        });
        if (!root) {
            // Whoever can't read the file has no use for what was wrong before.
            _loaded.messages.erase(_loaded.messages.begin(), _loaded.messages.end() - 1);
            return std::move(_loaded);
        }
        if (!root->isNull() && root->kind != YamlNode::Kind::Map) {
            _loaded.messages.clear();
            report(root->line, "expected a map with the key \"objects\"");
            return std::move(_loaded);
        }
        _loaded.isGraph = true;
        const std::vector<std::string> keys{"objects"};
        forEachEntry(*root, [&](const YamlNode& key, const YamlNode& value) {
            if (key.text != keys[0])
                return reportUnknown(key.line, "there is no key", key.text, keys);
            loadObjects(value);
        });
        std::stable_sort(_loaded.messages.begin(), _loaded.messages.end(),
                         [](const auto& a, const auto& b) { return a.line < b.line; });
        return std::move(_loaded);
    }

private:
    using Visit = std::function<void(const YamlNode& key, const YamlNode& value)>;

    void report(std::size_t line, const std::string& text) {
        _loaded.messages.push_back({_fileName, line, text});
    }

    /// Reports that something, told in `what`, isn't there, and what may have been meant. Looking
    /// for that takes its time, which a file full of faults is not worth.
    void reportUnknown(std::size_t line, const std::string& what, const std::string& name,
                       const std::vector<std::string>& known) {
        std::string text = what + ' ' + quoted(name);
        constexpr int MostHints = 50;
        if (++_hints <= MostHints) {
            const std::string meant = nearestName(name, known);
            if (!meant.empty()) text += ", did you mean " + quoted(meant) + '?';
        }
        report(line, text);
    }

    /// Objects are strangers' code: what they throw is a message.
    void guard(std::size_t line, const std::string& place, const std::function<void()>& work) {
        try {
            work();
        } catch (const std::exception& exception) {
            report(line, place + ": " + exception.what());
        } catch (...) {
            report(line, place + ": it threw something that is no exception");
        }
    }

    static void forEachEntry(const YamlNode& map, const Visit& visit) {
        for (std::size_t i = 0; i + 1 < map.items.size(); i += 2) {
            visit(map.items[i], map.items[i + 1]);
        }
    }

    /// Whether a node is a map; if it is neither that nor nothing, this is reported.
    bool isMap(const YamlNode& node, const std::string& place) {
        if (node.kind == YamlNode::Kind::Map) return true;
        if (node.kind != YamlNode::Kind::Faulty && !node.isNull())
            report(node.line, place + ": expected a map");
        return false;
    }

    void loadObjects(const YamlNode& objects) {
        if (!isMap(objects, "objects")) return;
        forEachEntry(objects, [&](const YamlNode& key, const YamlNode& value) {
            LoadedObject& made = _objects.emplace_back();
            made.name = key.text;
            made.node = &value;
            made.line = key.line;
            if (isMap(value, quoted(key.text))) make(made);
            _names.add(made.name, made.object);
        });
        std::erase_if(_objects, [](const LoadedObject& made) { return !made.object; });
        for (LoadedObject& made : _objects) readSections(made);
        for (const PendingConnection& pending : _connections) connect(pending);
        for (const LoadedObject& made : _objects) readPools(made);
        for (const LoadedObject& made : _objects) {
            guard(made.line, quoted(made.name), [&] {
                VActionNotifier::VObjectCreation(made.object, _context,
                                                 Keel::WeakPtr<VCreatorBase>(made.creator));
            });
            _loaded.objects.emplace_back(made.name, made.object);
        }
        for (const LoadedObject& made : _objects) {
            guard(made.line, quoted(made.name), [&] { made.object->setup(made.connected); });
        }
    }

    static const YamlNode* section(const YamlNode& map, const char* name) {
        for (std::size_t i = 0; i + 1 < map.items.size(); i += 2) {
            if (map.items[i].text == name) return &map.items[i + 1];
        }
        return nullptr;
    }

    /// The text of a scalar, or of a row of words; nothing, after a report, if it is neither.
    std::optional<std::string> words(const YamlNode& node, const std::string& place) {
        if (node.kind == YamlNode::Kind::Faulty) return {};
        std::string text;
        // As for a number: rows of words are welcome, and names are texts anyway.
        const auto& type = node.kind == YamlNode::Kind::Row ? typeid(void) : typeid(std::string);
        if (readValueText(node, type, text)) return text;
        report(node.line, place + ": " + text);
        return {};
    }

    void make(LoadedObject& made) {
        const YamlNode* const typeNode = section(*made.node, "type");
        if (typeNode == nullptr) {
            report(made.line, quoted(made.name) + ": expected a key \"type\" with the name of a "
                                                  "kind of objects");
            return;
        }
        const std::optional<std::string> type = words(*typeNode, made.name + ".type");
        if (!type) return;
        made.creator = VCreatorBase::find(*type);
        if (!made.creator) {
            std::vector<std::string> known;
            for (const auto& creator : VCreatorBase::creators()) known.push_back(creator->name());
            return reportUnknown(typeNode->line, "there is no type", *type, known);
        }
        VObject::PreferencesPtr preferences;
        const YamlNode* const preferred = section(*made.node, "preferences");
        if (preferred != nullptr && !preferred->isNull()) {
            if (const auto text = words(*preferred, made.name + ".preferences"))
                preferences = VObject::PreferencesPtr(new VCreationPreferences(*text));
        }
        guard(made.line, quoted(made.name),
              [&] { made.object = made.creator->make(made.name, preferences, _context); });
        if (!made.object)
            report(made.line, quoted(made.name) + " could not be made by " + quoted(*type));
    }

    void readSections(LoadedObject& made) {
        static const std::vector<std::string> known{"type", "preferences", "active", "inputs",
                                                    "pools"};
        forEachEntry(*made.node, [&](const YamlNode& key, const YamlNode& value) {
            if (key.text == "active") {
                readActive(made, value);
            } else if (key.text == "inputs") {
                readInputs(made, value);
            } else if (std::find(known.begin(), known.end(), key.text) == known.end()) {
                reportUnknown(key.line, "there is no key", key.text, known);
            }
        });
    }

    void readActive(const LoadedObject& made, const YamlNode& node) {
        const std::string place = made.name + ".active";
        const std::optional<std::string> text = words(node, place);
        if (!text) return;
        bool isActive = true;
        if (!VValueTrait<bool>::setValueFromText(isActive, *text))
            return report(node.line, place + ": expected true or false, got " + quoted(*text));
        made.object->active.store(isActive);
    }

    VSlotPtr findInput(const LoadedObject& made, const YamlNode& key) {
        VSlotPtr input = made.object->findInput(key.text);
        if (!input)
            reportUnknown(key.line, quoted(made.name) + " has no input", key.text,
                          namesOf(made.object->inputs()));
        return input;
    }

    void readInputs(LoadedObject& made, const YamlNode& inputs) {
        if (!isMap(inputs, made.name + ".inputs")) return;
        forEachEntry(inputs, [&](const YamlNode& key, const YamlNode& value) {
            const VSlotPtr input = findInput(made, key);
            if (!input) return;
            if (value.kind != YamlNode::Kind::Map) return setValue(made, input, value);
            readConnection(made, input, value);
        });
    }

    void readConnection(LoadedObject& made, const VSlotPtr& input, const YamlNode& map) {
        static const std::vector<std::string> known{"from", "value"};
        bool isComplete = false;
        forEachEntry(map, [&](const YamlNode& key, const YamlNode& value) {
            if (key.text == "value") return setValue(made, input, value);
            if (key.text != "from")
                return reportUnknown(key.line, "there is no key", key.text, known);
            isComplete = true;
            if (value.kind == YamlNode::Kind::Faulty) return;
            _connections.push_back({made, input, value});
        });
        if (!isComplete)
            report(map.line, placeOf(made, input) +
                                 ": expected a value, or a connection { from: object.output }");
    }

    static std::string placeOf(const LoadedObject& made, const VSlotPtr& input) {
        return made.name + '.' + input->Name();
    }

    /// Writes the text of a node into the input's own value: that of a pool, or the global one.
    void setValue(const LoadedObject& made, const VSlotPtr& input, const YamlNode& node,
                  const ValuePoolPtr& pool = {}) {
        if (node.kind == YamlNode::Kind::Faulty) return;
        const std::string place = placeOf(made, input);
        const VParameterPtr& own = input->ownParameter();
        if (!own) return report(node.line, place + ": this input takes no value, only connections");
        std::string text;
        if (!readValueText(node, own->valueType(), text))
            return report(node.line, place + ": " + text);
        guard(node.line, place, [&] {
            const VValuePtr value = pool ? own->getLocalValue(pool, {}, true) : own->DefaultValue();
            const TextResult result = value ? own->readText(*value, text) : TextResult::Unreadable;
            if (result == TextResult::Unreadable) {
                const std::string type = VValueCreator::typeName(own->valueType());
                return report(node.line, place + ": " + quoted(text) + " can't be read as a value" +
                                             (type.empty() ? "" : " of type " + type));
            }
            // A value that was given is one that was set, though it may have been that before.
            if (!pool || result == TextResult::Changed) own->notifyValueChange(value, pool);
        });
    }

    void connect(const PendingConnection& pending) {
        const std::string place = placeOf(pending.owner, pending.input);
        const VParameterPtr output = findOutput(pending, place);
        if (!output) return;
        guard(pending.from.line, place, [&] {
            const AttachErrorCode code = pending.owner.object->attachParameter(
                output, Keel::WeakPtr<VSlot>(pending.input), output->Name());
            if (code >= 0) return pending.owner.connected.insert(pending.input);
            report(pending.from.line, place + ": " + VSlotContainer::AttachErrorCodeMessage(code));
        });
    }

    /// The output that is meant; null after a report.
    VParameterPtr findOutput(const PendingConnection& pending, const std::string& place) {
        const YamlNode& from = pending.from;
        const auto isName = [](const YamlNode& node) {
            return node.kind == YamlNode::Kind::Scalar && !node.isNull();
        };
        if (from.kind == YamlNode::Kind::Row && from.items.size() == 2 && isName(from.items[0]) &&
            isName(from.items[1])) {
            return outputOf(from.items[0].text, from.items[1].text, from.line, place);
        }
        if (!isName(from)) {
            report(from.line, place + ": expected \"object.output\" or [object, output]");
            return {};
        }
        if (VParameterPtr output = _names.resolve(from.text)) return output;
        if (const VObjectPtr* const object = _names.find(from.text)) {
            return onlyOutputOf(*object, pending);
        }
        const std::size_t dot = from.text.rfind('.');
        if (dot == std::string::npos) return outputOf(from.text, {}, from.line, place);
        return outputOf(from.text.substr(0, dot), from.text.substr(dot + 1), from.line, place);
    }

    VParameterPtr onlyOutputOf(const VObjectPtr& object, const PendingConnection& pending) {
        const std::string place = placeOf(pending.owner, pending.input);
        if (!object) {
            report(pending.from.line, place + ": " + quoted(pending.from.text) + " was not made");
            return {};
        }
        VParameterPtr only = ObjectNames::onlyOutput(object, pending.input->valueType());
        if (!only)
            report(pending.from.line,
                   place + ": " + quoted(pending.from.text) +
                       " has not one output of this type, write which: " + "object.output");
        return only;
    }

    VParameterPtr outputOf(const std::string& objectName, const std::string& outputName,
                           std::size_t line, const std::string& place) {
        const VObjectPtr* const object = _names.find(objectName);
        if (object == nullptr) {
            std::vector<std::string> known;
            for (const LoadedObject& made : _objects) known.push_back(made.name);
            reportUnknown(line, place + ": there is no object", objectName, known);
            return {};
        }
        if (!*object) {
            report(line, place + ": " + quoted(objectName) + " was not made");
            return {};
        }
        VParameterPtr output = ObjectNames::outputOf(*object, outputName);
        if (!output)
            reportUnknown(line, place + ": " + quoted(objectName) + " has no output", outputName,
                          namesOf((*object)->outputs()));
        return output;
    }

    void readPools(const LoadedObject& made) {
        const YamlNode* const pools = section(*made.node, "pools");
        if (pools == nullptr || !isMap(*pools, made.name + ".pools")) return;
        forEachEntry(*pools, [&](const YamlNode& key, const YamlNode& values) {
            const auto pool = _pools.find(key.text);
            if (pool == _pools.end()) {
                std::vector<std::string> known;
                for (const auto& [name, present] : _pools) known.push_back(name);
                return reportUnknown(key.line, "there is no pool", key.text, known);
            }
            if (!isMap(values, made.name + ".pools." + key.text)) return;
            forEachEntry(values, [&](const YamlNode& input, const YamlNode& value) {
                readLocalValue(made, input, value, pool->second);
            });
        });
    }

    void readLocalValue(const LoadedObject& made, const YamlNode& key, const YamlNode& value,
                        const ValuePoolPtr& pool) {
        const VSlotPtr input = findInput(made, key);
        if (!input) return;
        const VParameterPtr& own = input->ownParameter();
        if (own && !own->holdsLocalValues())
            return report(key.line, placeOf(made, input) +
                                        ": its value is the same in all pools, set it in inputs");
        setValue(made, input, value, pool);
    }

    const GraphFile::Pools& _pools;
    const std::string& _fileName;
    const Keel::Intercube& _context;
    GraphFile::Loaded _loaded;
    std::deque<LoadedObject> _objects;
    ObjectNames _names;
    std::vector<PendingConnection> _connections;
    int _hints = 0;
};

class GraphWriter {
public:
    GraphWriter(const GraphFile::Pools& pools, const std::vector<VObjectPtr>& objects,
                const std::string& fileName, Messages& messages)
        : _pools(pools), _objects(objects), _fileName(fileName), _messages(messages) {}

    std::string write() {
        for (const VObjectPtr& object : _objects) {
            if (object) _names.add(object->Name(), object);
        }
        _writer.openMap();
        _writer.text("objects");
        _writer.openMap();
        std::unordered_map<const VObject*, bool> written;
        for (const VObjectPtr& object : _objects) {
            if (object && written.emplace(object.get(), true).second) writeObject(*object);
        }
        _writer.closeMap();
        _writer.closeMap();
        return _writer.finish();
    }

private:
    struct Output {
        std::string object;
        std::string name;
        VParameterPtr parameter;
    };
    /// An input with something to write.
    struct Input {
        VSlotPtr slot;
        VValuePtr value;
        std::optional<Output> source;
    };

    void report(const std::string& text) { _messages.push_back({_fileName, 0, text}); }

    void writeObject(const VObject& object) {
        const std::string type = object.type_key();
        if (!VCreatorBase::find(type))
            report(quoted(object.Name()) + " can't be read back: there is no type " + quoted(type));
        _writer.text(object.Name());
        _writer.openMap();
        _writer.text("type");
        _writer.text(type);
        if (object.preferences() && !object.preferences()->words().empty()) {
            _writer.text("preferences");
            _writer.text(object.preferences()->text());
        }
        if (!object.active.load()) {
            _writer.text("active");
            _writer.plain(VValueTrait<bool>::Text(false));
        }
        const std::vector<VSlotPtr> slots = object.inputs();
        writeInputs(object, slots);
        writePools(slots);
        _writer.closeMap();
    }

    void writeInputs(const VObject& object, const std::vector<VSlotPtr>& slots) {
        std::vector<Input> inputs;
        for (const VSlotPtr& slot : slots) {
            const VParameterPtr& own = slot->ownParameter();
            if (!own) continue;
            Input input{slot, {}, {}};
            const VValuePtr value = own->DefaultValue();
            const bool wasSet = value && value->ageable().age() != Keel::Ageable::Ooooold;
            if (wasSet && hasTextForm(*value)) input.value = value;
            if (slot->isConnected()) input.source = sourceOf(object, *slot);
            if (input.value || input.source) inputs.push_back(std::move(input));
        }
        if (inputs.empty()) return;
        _writer.text("inputs");
        _writer.openMap();
        for (const Input& input : inputs) {
            _writer.text(input.slot->Name());
            writeInput(input);
        }
        _writer.closeMap();
    }

    void writeInput(const Input& input) {
        if (!input.source) return writeValue(_writer, *input.value);
        _writer.openMap(YamlWriter::Layout::OneLine);
        _writer.text("from");
        writeOutput(*input.source);
        if (input.value) {
            _writer.text("value");
            writeValue(_writer, *input.value);
        }
        _writer.closeMap();
    }

    void writeOutput(const Output& output) {
        const std::string reference = output.object + '.' + output.name;
        if (_names.resolve(reference) == output.parameter) return _writer.text(reference);
        _writer.openRow();
        _writer.text(output.object);
        _writer.text(output.name);
        _writer.closeRow();
    }

    /// The output that an input is connected to; nothing, after a report, if it has no name here.
    std::optional<Output> sourceOf(const VObject& object, const VSlot& slot) {
        const std::string place = quoted(object.Name() + '.' + slot.Name());
        const VParameterPtr parameter = slot.parameter();
        const auto container = parameter ? parameter->sourceContainer()
                                         : Keel::StrongPtr<VSlotContainer, VManagedObjectBase>();
        const VObject* const source = container ? container->asObject() : nullptr;
        const VObjectPtr* const known = source != nullptr ? _names.find(source->Name()) : nullptr;
        if (known == nullptr || known->get() != source) {
            report("the connection of " + place + " is left out: its source is not in this file");
            return {};
        }
        for (const VSlotPtr& output : source->outputs()) {
            if (!(output->parameter() == parameter)) continue;
            if (!(ObjectNames::outputOf(*known, output->Name()) == parameter)) continue;
            return Output{source->Name(), output->Name(), parameter};
        }
        report("the connection of " + place + " is left out: " + quoted(source->Name()) +
               " has no output of a name of its own for it");
        return {};
    }

    void writePools(const std::vector<VSlotPtr>& slots) {
        bool isFirst = true;
        for (const auto& [name, pool] : _pools) {
            std::vector<std::pair<VSlotPtr, VValuePtr>> values;
            for (const VSlotPtr& slot : slots) {
                if (VValuePtr value = localValue(*slot, pool)) values.emplace_back(slot, value);
            }
            if (values.empty()) continue;
            if (isFirst) {
                _writer.text("pools");
                _writer.openMap();
                isFirst = false;
            }
            _writer.text(name);
            _writer.openMap(YamlWriter::Layout::Lines);
            for (const auto& [slot, value] : values) {
                _writer.text(slot->Name());
                writeValue(_writer, *value);
            }
            _writer.closeMap();
        }
        if (!isFirst) _writer.closeMap();
    }

    /// The value of a pool if it is another than elsewhere, else null.
    static VValuePtr localValue(const VSlot& slot, const ValuePoolPtr& pool) {
        const VParameterPtr& own = slot.ownParameter();
        if (!own || !own->holdsLocalValues()) return {};
        const VValuePtr local = own->getLocalValue(pool, {}, false);
        const VValuePtr global = own->DefaultValue();
        if (!local || !global || local->text() == global->text()) return {};
        return hasTextForm(*local) ? local : VValuePtr();
    }

    const GraphFile::Pools& _pools;
    const std::vector<VObjectPtr>& _objects;
    const std::string& _fileName;
    Messages& _messages;
    ObjectNames _names;
    YamlWriter _writer;
};

} // namespace

std::string GraphFile::Message::str() const {
    return file + ':' + (line > 0 ? std::to_string(line) + ':' : "") + ' ' + text;
}

GraphFile::GraphFile(Pools pools) : _pools(std::move(pools)) {}

GraphFile::Loaded GraphFile::load(const std::string& path, const Keel::Intercube& context) const {
    const Keel::FileInfo info(path);
    const std::string text = Keel::FileRead(path, "r");
    if (text.empty() && (!info.isRegular || info.bytes > 0)) {
        Loaded nothing;
        nothing.messages.push_back(
            {path, 0, info.exists ? "this can't be read as a file" : "there is no such file"});
        return nothing;
    }
    return loadText(text, path, context);
}

GraphFile::Loaded GraphFile::loadText(const std::string& text, const std::string& fileName,
                                      const Keel::Intercube& context) const {
    return GraphLoader(_pools, fileName, context).load(text);
}

GraphFile::Saved GraphFile::save(const std::string& path,
                                 const std::vector<VObjectPtr>& objects) const {
    Saved saved;
    const std::string written = text(objects, path, saved.messages);
    saved.isWritten = Keel::FileWrite(path, written, "w");
    if (!saved.isWritten)
        saved.messages.push_back(
            {path, 0, std::string("the file can't be written: ") + std::strerror(errno)});
    return saved;
}

std::string GraphFile::text(const std::vector<VObjectPtr>& objects, const std::string& fileName,
                            std::vector<Message>& messages) const {
    return GraphWriter(_pools, objects, fileName, messages).write();
}

} // namespace Mirk
