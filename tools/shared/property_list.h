#pragma once
// Property lists in XML, as a stream: expat's events go to a stack of small readers, one for each container
// that is open. Nothing is kept but the text of one value.
//
//     struct Root : PlistContainer { void value(...) override { ... } };
//     PropertyList list;
//     const PropertyListResult result = list.read(descriptor, &root);

#include <cstdint>
#include <expat.h>
#include <string>
#include <string_view>
#include <vector>

enum class PlistElement : uint8_t {
    key, // names the value behind it
    string,
    integer,
    date,
    boolean_true,
    boolean_false,
    data,
    real,
    dict, // from here on containers
    array,
    plist,
    none,
};

/// Reads what stands in one container: a dictionary, an array, the list itself or, around it, the file.
class PlistContainer {
public:
    PlistContainer() = default;
    PlistContainer(const PlistContainer&) = delete;
    PlistContainer& operator=(const PlistContainer&) = delete;
    virtual ~PlistContainer() = default;

    /// A container inside begins. Returns its reader, borrowed until its end; null where nobody wants to
    /// know. The key is empty in an array.
    virtual PlistContainer* child(std::string_view /*key*/, PlistElement /*element*/) { return nullptr; }
    /// Any other value. The texts are borrowed for the call, in UTF-8, cut behind 65,536 characters.
    virtual void value(std::string_view /*key*/, PlistElement /*element*/, std::string_view /*text*/) {}
    virtual void end() {}
};

enum class PropertyListState : uint8_t {
    whole,
    unreadable, // error says why
    damaged,    // line, column and reason say where and why
    stopped,    // as a container asked
};

struct PropertyListResult {
    PropertyListState state = PropertyListState::whole;
    int error = 0;       // number of the system's error
    uint64_t line = 0;   // from 1, as the column
    uint64_t column = 0; // in characters
    std::string reason;  // escaped for people
};

class PropertyList {
public:
    PropertyList() = default;
    PropertyList(const PropertyList&) = delete;
    PropertyList& operator=(const PropertyList&) = delete;

    /// Reads the descriptor to its end and hands what it holds to `file`, once. Refused as damage are, beside
    /// what is no XML: declarations of entities, and entities that are not XML's own; more than 64 levels;
    /// comments and tags of more than 1 MiB; and what is no property list.
    [[nodiscard]] PropertyListResult read(int descriptor, PlistContainer* file);

    /// For containers, in their functions: what came last makes the list damaged.
    void refuse(std::string reason);
    /// For containers, too: reading ends with the block that is being read.
    void stop() { result_.state = PropertyListState::stopped; }

private:
    struct Level {
        PlistContainer* reader;
        PlistElement kind;
    };

    void start(const char* name);
    void start_container(PlistElement element);
    void finish();
    void finish_value();
    void open_value(PlistElement element);
    void add_text(std::string_view text);
    void refuse_entity(const char* name);
    void read_blocks(int descriptor);
    void judge(XML_Status status);

    template <typename Work>
    void guarded(Work work);
    void listen();

    XML_Parser parser_ = nullptr;
    PropertyListResult result_;
    std::vector<Level> levels_;
    PlistElement open_ = PlistElement::none; // the value that is open
    bool has_key_ = false;
    bool is_out_of_memory_ = false;
    std::string key_;
    std::string text_;
};
