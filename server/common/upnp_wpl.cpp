#include "server/common/upnp_wpl.h"

#include <cstdarg>
#include <cstdio>

#include "common/upnp_log.h"
#include "common/upnp_text.h"

namespace {

constexpr uint32_t text_size = 1024;      // one write: the header, an entry line, the footer
constexpr uint32_t type_line_size = 128;  // the Type line
constexpr uint32_t type_line_limit = 127; // of which the formatter uses all but the last byte

// As log readers know it: the module's place in the source tree and a number that stays when lines move.
constexpr char module_path[] = "server/common/upnp_wpl.cpp";
constexpr int module_line = 29;

constexpr char header_format[] = "<?wpl version=\"1.0\"?>\n"
                                 "<smil>\n"
                                 " <head>\n"
                                 "  <meta name=\"Generator\" content=\"ZembraMedia\"/>\n"
                                 "  <meta name=\"IsNetworkFeed\" content=\"%c\"/>\n"
                                 "  <meta name=\"IsUserGenerated\" content=\"%c\"/>\n"
                                 "  <meta name=\"OrigFilename\" content=\"%s\"/>\n"
                                 "%s"
                                 "  <title>%s</title>\n"
                                 " </head>\n"
                                 " <body>\n"
                                 "  <seq>\n";

enum class WriteResult {
    whole,
    cut, // the text exceeded the buffer
    failed,
};

/// Formats into a buffer of 1024 bytes and writes what fits with one write.
[[gnu::format(printf, 2, 3)]] WriteResult write_formatted(UpnpFile* file, const char* format, ...) {
    char text[text_size] = {};
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (length < 0) {
        return WriteResult::cut; // longer than any number tells
    }
    const bool is_cut = length >= static_cast<int>(sizeof text);
    const int kept = is_cut ? static_cast<int>(sizeof text) - 1 : length;
    const int written = upnp_file_write(file, text, static_cast<uint32_t>(kept));
    if (is_cut) {
        return WriteResult::cut;
    }
    return written == length ? WriteResult::whole : WriteResult::failed;
}

const char* value_type_word(int32_t value_type) {
    switch (value_type) {
    case 1: return "ref";
    case 2: return "object";
    default: return "data";
    }
}

const char* text_or(const char* text, const char* substitute) {
    return text == nullptr ? substitute : text;
}

char flag_character(uint32_t flag) {
    return flag != 0 ? '1' : '0';
}

} // namespace

uint32_t upnp_wpl_write_header(UpnpFile* file, const char* type, const char* title, const char* orig_filename,
                               uint32_t is_network_feed, uint32_t is_user_generated) {
    if (file == nullptr) {
        if (upnp_log_check(upnp_log_plugin, 3) != 0) {
            upnp_log_message(0, "%s:%d: File not open ", module_path, module_line);
        }
        return 0;
    }
    char type_line[type_line_size] = {};
    if (type != nullptr) {
        upnp_format(type_line, type_line_limit, "  <meta name=\"Type\" content=\"%s\"/>\n", type);
    }
    return write_formatted(file, header_format, flag_character(is_network_feed),
                           flag_character(is_user_generated), text_or(orig_filename, "Unknown"), type_line,
                           text_or(title, "Unknown")) == WriteResult::whole
               ? 1
               : 0;
}

uint32_t upnp_wpl_add_media(UpnpFile* file, const char* src) {
    if (file == nullptr || src == nullptr) {
        return 0;
    }
    return write_formatted(file, "   <media src=\"%s\" />\n", src) == WriteResult::whole ? 1 : 0;
}

uint32_t upnp_wpl_add_media_params(UpnpFile* file, const WplMedia* media) {
    if (file == nullptr || media == nullptr || media->src == nullptr) {
        return 0;
    }
    bool any_cut = write_formatted(file, "    <media src=\"%s\" >\n", media->src) == WriteResult::cut;
    const int32_t count = media->params == nullptr ? 0 : media->param_count;
    for (int32_t index = 0; index < count; ++index) {
        const WplParam& param = media->params[index];
        any_cut |= write_formatted(file, "      <param name=\"%s\" value=\"%s\" valuetype=\"%s\" />\n",
                                   text_or(param.name, ""), text_or(param.value, ""),
                                   value_type_word(param.value_type)) == WriteResult::cut;
    }
    (void)write_formatted(file, "    </media>\n");
    return any_cut ? 0 : 1;
}

uint32_t upnp_wpl_write_footer(UpnpFile* file) {
    if (file == nullptr) {
        return 0;
    }
    return write_formatted(file, "  </seq>\n </body>\n</smil>\n") == WriteResult::whole ? 1 : 0;
}
