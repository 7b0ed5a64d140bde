#include "tools/shared/property_list.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "tools/shared/descriptor.h"
#include "tools/shared/text_output.h"
#include "tools/shared/utf8.h"

namespace {

constexpr size_t depth_limit = 64;       // a library is eight deep
constexpr size_t text_limit = 1U << 16;  // characters that are kept, far more than a line may have
constexpr size_t character_size = 4;     // bytes at most
constexpr int block_size = 1 << 16;      // bytes
constexpr size_t shown_limit = 40;       // characters of a name that are shown
constexpr int64_t token_limit = 1 << 20; // bytes, which the parser keeps and reads anew with each block

// In the order of PlistElement.
constexpr std::string_view element_names[] = {"key",  "string", "integer", "date",  "true", "false",
                                              "data", "real",   "dict",    "array", "plist"};
static_assert(std::size(element_names) == static_cast<size_t>(PlistElement::none));

PlistElement element_of(std::string_view name) {
    const auto* place = std::ranges::find(element_names, name);
    return static_cast<PlistElement>(place - std::begin(element_names));
}

bool is_container(PlistElement element) {
    return element >= PlistElement::dict && element != PlistElement::none;
}

std::string shown_name(const char* name) {
    return escaped(utf8_first_characters(name, shown_limit));
}

PropertyList* list_of(void* context) {
    return static_cast<PropertyList*>(context);
}

} // namespace

/// Runs what an event asks for, once nothing has ended the reading. No exception passes through the parser,
/// which is not written in C++.
template <typename Work>
void PropertyList::guarded(Work work) {
    if (result_.state == PropertyListState::damaged || is_out_of_memory_) {
        return;
    }
    try {
        work();
    } catch (const std::bad_alloc&) {
        is_out_of_memory_ = true;
        (void)XML_StopParser(parser_, XML_FALSE);
    }
}

void PropertyList::refuse(std::string reason) {
    if (result_.state == PropertyListState::damaged) {
        return;
    }
    result_.state = PropertyListState::damaged;
    result_.reason = std::move(reason);
    // Fails before the first event; whoever reads looks at the state.
    (void)XML_StopParser(parser_, XML_FALSE);
}

void PropertyList::refuse_entity(const char* name) {
    refuse("the entity " + shown_name(name) + " is not one of XML's own");
}

void PropertyList::start_container(PlistElement element) {
    if (levels_.size() > depth_limit) {
        refuse("more than " + std::to_string(depth_limit) + " levels");
        return;
    }
    PlistContainer* outer = levels_.back().reader;
    PlistContainer* inner =
        outer == nullptr ? nullptr : outer->child(has_key_ ? key_ : std::string_view(), element);
    levels_.push_back({inner, element});
    has_key_ = false;
}

void PropertyList::start(const char* name) {
    const PlistElement element = element_of(name);
    const PlistElement kind = levels_.back().kind;
    const bool is_key = element == PlistElement::key;
    if (open_ != PlistElement::none) {
        refuse("<" + shown_name(name) + "> inside <" +
               std::string(element_names[static_cast<size_t>(open_)]) + ">");
    } else if (kind == PlistElement::dict && has_key_ == is_key) {
        refuse("<" + shown_name(name) + "> where a " + (has_key_ ? "value" : "key") + " should be");
    } else if (is_container(element) && (element == PlistElement::plist) == (kind == PlistElement::none)) {
        start_container(element);
    } else if (element < PlistElement::dict && kind != PlistElement::none &&
               (!is_key || kind == PlistElement::dict)) {
        open_value(element);
    } else {
        refuse("not a property list: <" + shown_name(name) + ">");
    }
}

/// Has the parser tell of texts, until the value ends: most that is between values are blanks.
void PropertyList::open_value(PlistElement element) {
    open_ = element;
    (element == PlistElement::key ? key_ : text_).clear();
    XML_SetCharacterDataHandler(parser_, [](void* context, const XML_Char* text, int length) {
        list_of(context)->guarded([&] { list_of(context)->add_text({text, static_cast<size_t>(length)}); });
    });
}

void PropertyList::add_text(std::string_view text) {
    std::string& target = open_ == PlistElement::key ? key_ : text_;
    if (target.size() < text_limit * character_size) {
        target.append(text);
    }
}

void PropertyList::finish_value() {
    XML_SetCharacterDataHandler(parser_, nullptr);
    std::string& text = open_ == PlistElement::key ? key_ : text_;
    if (text.size() > text_limit) {
        text.resize(utf8_first_characters(text, text_limit).size());
    }
    const PlistElement element = std::exchange(open_, PlistElement::none);
    if (element == PlistElement::key) {
        has_key_ = true;
        return;
    }
    PlistContainer* reader = levels_.back().reader;
    if (reader != nullptr) {
        reader->value(has_key_ ? key_ : std::string_view(), element, text_);
    }
    has_key_ = false;
}

void PropertyList::finish() {
    if (open_ != PlistElement::none) {
        finish_value();
        return;
    }
    if (has_key_) {
        refuse("a key without a value");
        return;
    }
    PlistContainer* reader = levels_.back().reader;
    levels_.pop_back();
    if (reader != nullptr) {
        reader->end();
    }
}

/// Has the parser call the functions above.
void PropertyList::listen() {
    XML_SetUserData(parser_, this);
    XML_SetElementHandler(
        parser_,
        [](void* context, const XML_Char* name, const XML_Char** /*attributes*/) {
            list_of(context)->guarded([&] { list_of(context)->start(name); });
        },
        [](void* context, const XML_Char* /*name*/) {
            list_of(context)->guarded([&] { list_of(context)->finish(); });
        });
    // Entities may grow without end, and one that is not known would be lost without a word.
    XML_SetEntityDeclHandler(parser_, [](void* context, const XML_Char* name, int, const XML_Char*, int,
                                         const XML_Char*, const XML_Char*, const XML_Char*, const XML_Char*) {
        list_of(context)->guarded([&] { list_of(context)->refuse_entity(name); });
    });
    XML_SetSkippedEntityHandler(parser_, [](void* context, const XML_Char* name, int) {
        list_of(context)->guarded([&] { list_of(context)->refuse_entity(name); });
    });
    XML_SetUnknownEncodingHandler(
        parser_,
        [](void* context, const XML_Char* name, XML_Encoding*) -> int {
            list_of(context)->guarded(
                [&] { list_of(context)->refuse("unknown encoding: " + shown_name(name)); });
            return XML_STATUS_ERROR;
        },
        this);
}

/// Notes what the parser found wrong, unless a function above has refused it.
void PropertyList::judge(XML_Status status) {
    if (is_out_of_memory_ ||
        (status == XML_STATUS_ERROR && XML_GetErrorCode(parser_) == XML_ERROR_NO_MEMORY)) {
        throw std::bad_alloc();
    }
    if (status == XML_STATUS_ERROR && result_.state != PropertyListState::damaged) {
        refuse(XML_ErrorString(XML_GetErrorCode(parser_)));
    }
}

void PropertyList::read_blocks(int descriptor) {
    int64_t size = 0;
    size_t length = block_size;
    while (length > 0 && result_.state == PropertyListState::whole) {
        auto* block = static_cast<char*>(XML_GetBuffer(parser_, block_size));
        if (block == nullptr) {
            throw std::bad_alloc();
        }
        length = read_up_to(descriptor, block, block_size, &result_.error);
        if (result_.error != 0) {
            result_.state = PropertyListState::unreadable;
            return;
        }
        if (size == 0 && std::string_view(block, length).starts_with("bplist")) {
            refuse("a binary property list: export the library as XML");
            return;
        }
        size += static_cast<int64_t>(length);
        judge(XML_ParseBuffer(parser_, static_cast<int>(length), length == 0 ? 1 : 0));
        if (length > 0 && size - XML_GetCurrentByteIndex(parser_) > token_limit) {
            refuse("a comment or tag of more than 1 MiB");
        }
    }
}

PropertyListResult PropertyList::read(int descriptor, PlistContainer* file) {
    const std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)> parser(
        XML_ParserCreate(nullptr), &XML_ParserFree);
    if (parser == nullptr) {
        throw std::bad_alloc();
    }
    parser_ = parser.get();
    levels_.assign(1, {file, PlistElement::none});
    listen();
    read_blocks(descriptor);
    if (result_.state == PropertyListState::damaged) { // where the parser stopped: behind what was refused
        result_.line = XML_GetCurrentLineNumber(parser_);
        result_.column = XML_GetCurrentColumnNumber(parser_) + 1;
    }
    return result_;
}
