#include "dlna/gupnp/didl.h"

#include <libgupnp-av/gupnp-av.h>

#include <algorithm>
#include <charconv>
#include <string_view>

#include "dlna/gupnp/gobject.h"
#include "dlna/gupnp/uri.h"
#include "dlna/gupnp/xml.h"
#include "metadata/formats.h"

namespace mrb::dlna {
namespace {

using Resource = GUPnPDIDLLiteResource;

struct FreeObjects {
    void operator()(GList *list) const { g_list_free_full(list, g_object_unref); }
};
struct FreeNodes {
    void operator()(GList *list) const { g_list_free(list); }
};

std::string clean(const char *text) { return text != nullptr ? cleanText(text) : std::string(); }

// An id has to come back to the server as it is.
std::string exactId(const char *text) {
    const std::string id = clean(text);
    return text != nullptr && id == text ? id : std::string();
}

// An address that can be asked; else nothing.
std::string webAddress(const char *text) {
    std::string address = clean(text);
    return isWebAddress(address) ? address : std::string();
}

// The text of the first property of that name.
std::string property(GUPnPDIDLLiteObject *object, const char *name) {
    const std::unique_ptr<GList, FreeNodes> nodes(gupnp_didl_lite_object_get_properties(object, name));
    return nodes ? cleanText(textOf(static_cast<const xmlNode *>(nodes->data))) : std::string();
}

// "H+:MM:SS.F+", with the fraction, which GUPnP leaves out; in milliseconds. Negative: it is none.
std::int64_t durationOf(Resource *resource) {
    constexpr std::int64_t MILLISECONDS = 1000;
    constexpr std::int64_t MOST_HOURS = 100'000;
    const long seconds = gupnp_didl_lite_resource_get_duration(resource);
    if (seconds < 0 || seconds > MOST_HOURS * 3600) {
        return -1;
    }
    std::int64_t fraction = 0;
    xmlNode *node = gupnp_didl_lite_resource_get_xml_node(resource);
    for (const xmlAttr *each = node->properties; each != nullptr; each = each->next) {
        if (xmlStrcmp(each->name, reinterpret_cast<const xmlChar *>("duration")) == 0 &&
            each->children != nullptr) {
            const std::string text = textOf(each->children);
            const std::size_t dot = text.find('.');
            std::string digits = dot == std::string::npos ? "" : text.substr(dot + 1, 3);
            digits.resize(3, '0');
            std::from_chars(digits.data(), digits.data() + digits.size(), fraction);
        }
    }
    return seconds * MILLISECONDS + std::clamp<std::int64_t>(fraction, 0, MILLISECONDS - 1);
}

bool isOfWeb(GUPnPProtocolInfo *info) {
    return info != nullptr && g_strcmp0(gupnp_protocol_info_get_protocol(info), "http-get") == 0;
}

// The item itself, and not what the server makes of it for small screens: the first one
// that is not converted; else the first.
Resource *mainResource(GList *resources) {
    Resource *first = nullptr;
    for (GList *each = resources; each != nullptr; each = each->next) {
        auto *resource = static_cast<Resource *>(each->data);
        GUPnPProtocolInfo *info = gupnp_didl_lite_resource_get_protocol_info(resource);
        if (!isOfWeb(info) || webAddress(gupnp_didl_lite_resource_get_uri(resource)).empty()) {
            continue;
        }
        if ((gupnp_protocol_info_get_dlna_conversion(info) & GUPNP_DLNA_CONVERSION_TRANSCODED) == 0) {
            return resource;
        }
        first = first == nullptr ? resource : first;
    }
    return first;
}

// What a picture has in place of album art: the server's own small one.
std::string smallPicture(GList *resources) {
    for (GList *each = resources; each != nullptr; each = each->next) {
        auto *resource = static_cast<Resource *>(each->data);
        GUPnPProtocolInfo *info = gupnp_didl_lite_resource_get_protocol_info(resource);
        const char *profile = isOfWeb(info) ? gupnp_protocol_info_get_dlna_profile(info) : nullptr;
        if (g_strcmp0(profile, "JPEG_TN") == 0 || g_strcmp0(profile, "JPEG_SM") == 0) {
            return webAddress(gupnp_didl_lite_resource_get_uri(resource));
        }
    }
    return {};
}

void setPositive(Metadata &facts, Fact fact, std::int64_t number) {
    if (number > 0) {
        facts.setNumber(fact, number);
    }
}

void readResource(Resource *resource, MediaObject &object) {
    constexpr std::int64_t BITS = 8; // UPnP counts bytes a second
    constexpr std::int64_t MOST_LINES = 1 << 20;
    object.url = webAddress(gupnp_didl_lite_resource_get_uri(resource));
    if (const gint64 size = gupnp_didl_lite_resource_get_size64(resource); size >= 0) {
        object.size = size;
    }
    Metadata &facts = object.facts;
    facts.setText(Fact::MIME_TYPE, clean(gupnp_protocol_info_get_mime_type(
                                       gupnp_didl_lite_resource_get_protocol_info(resource))));
    setPositive(facts, Fact::DURATION, durationOf(resource));
    setPositive(facts, Fact::BITRATE, BITS * gupnp_didl_lite_resource_get_bitrate(resource));
    setPositive(facts, Fact::SAMPLE_RATE, gupnp_didl_lite_resource_get_sample_freq(resource));
    setPositive(facts, Fact::SAMPLE_BITS, gupnp_didl_lite_resource_get_bits_per_sample(resource));
    const std::int64_t width = gupnp_didl_lite_resource_get_width(resource);
    const std::int64_t height = gupnp_didl_lite_resource_get_height(resource);
    if (width > 0 && height > 0 && width < MOST_LINES && height < MOST_LINES) {
        constexpr std::int64_t THOUSAND = 1000;
        facts.setNumber(Fact::WIDTH, width);
        facts.setNumber(Fact::HEIGHT, height);
        facts.setNumber(Fact::ASPECT_RATIO, (THOUSAND * width + height / 2) / height);
    }
    if (gupnp_didl_lite_resource_get_subtitle_file_uri(resource) != nullptr) {
        facts.setNumber(Fact::HAS_SUBTITLES, 1);
    }
    if (gupnp_didl_lite_resource_track_total_is_set(resource) != FALSE) {
        setPositive(facts, Fact::TRACKS, gupnp_didl_lite_resource_get_track_total(resource));
    }
}

void readTexts(GUPnPDIDLLiteObject *source, MediaObject &object) {
    Metadata &facts = object.facts;
    const auto firstOf = [](const std::string &one, const std::string &other) {
        return one.empty() ? other : one;
    };
    facts.setText(Fact::TITLE, object.title);
    facts.setText(Fact::ARTIST,
                  firstOf(property(source, "artist"), clean(gupnp_didl_lite_object_get_creator(source))));
    facts.setText(Fact::ALBUM, clean(gupnp_didl_lite_object_get_album(source)));
    facts.setText(Fact::GENRE, clean(gupnp_didl_lite_object_get_genre(source)));
    facts.setText(Fact::SYNOPSIS, firstOf(property(source, "longDescription"),
                                          clean(gupnp_didl_lite_object_get_description(source))));
    facts.setText(Fact::LANGUAGE, property(source, "language"));
    setPositive(facts, Fact::TRACK, gupnp_didl_lite_object_get_track_number(source));
    const bool isPicture = object.upnpClass.starts_with("object.item.imageItem");
    if (!isPicture) {
        facts.setText(Fact::YEAR, yearOf(object.date));
    }
    if (!object.upnpClass.starts_with("object.item.audioItem")) {
        facts.setText(Fact::DATE_TAKEN, dateOfIso(object.date));
    }
}

MediaObject describe(GUPnPDIDLLiteObject *source) {
    MediaObject object;
    object.id = exactId(gupnp_didl_lite_object_get_id(source));
    object.title = clean(gupnp_didl_lite_object_get_title(source));
    object.upnpClass = clean(gupnp_didl_lite_object_get_upnp_class(source));
    object.date = clean(gupnp_didl_lite_object_get_date(source));
    object.isContainer = GUPNP_IS_DIDL_LITE_CONTAINER(source) != FALSE;
    object.thumbnail = webAddress(gupnp_didl_lite_object_get_album_art(source));
    if (object.isContainer) {
        return object;
    }
    readTexts(source, object);
    const std::unique_ptr<GList, FreeObjects> resources(gupnp_didl_lite_object_get_resources(source));
    if (Resource *resource = mainResource(resources.get())) {
        readResource(resource, object);
    }
    if (object.thumbnail.empty()) {
        object.thumbnail = smallPicture(resources.get());
    }
    return object;
}

void onObject(GUPnPDIDLLiteParser * /*parser*/, GUPnPDIDLLiteObject *object,
              std::vector<MediaObject> *objects) {
    objects->push_back(describe(object));
}

void onMadeObject(GUPnPDIDLLiteParser * /*parser*/, GUPnPDIDLLiteObject *object, std::string *url) {
    const std::unique_ptr<GList, FreeObjects> resources(gupnp_didl_lite_object_get_resources(object));
    for (GList *each = resources.get(); each != nullptr && url->empty(); each = each->next) {
        *url = webAddress(gupnp_didl_lite_resource_get_import_uri(static_cast<Resource *>(each->data)));
    }
}

void ignoreXmlError(void * /*context*/, const char * /*format*/, ...) {}

// Has every object of a document handed to the handler, in its order.
template <typename Taken>
Outcome parse(const std::string &didl,
              void (*onAvailable)(GUPnPDIDLLiteParser *, GUPnPDIDLLiteObject *, Taken *), Taken &taken) {
    // The parser below reads what is broken as far as it goes, says nothing of it, and
    // unfolds entities without a bound.
    bool isReadable = false;
    Outcome outcome = checkXml(didl, isReadable);
    if (!isReadable) {
        return outcome;
    }
    xmlSetGenericErrorFunc(nullptr, ignoreXmlError); // for this thread
    const Object<GUPnPDIDLLiteParser> parser(gupnp_didl_lite_parser_new());
    g_signal_connect(parser.get(), "object-available", G_CALLBACK(onAvailable), &taken);
    // What it calls an error is that there is no object.
    gupnp_didl_lite_parser_parse_didl(parser.get(), didl.c_str(), nullptr);
    return outcome;
}

} // namespace

Outcome readObjects(const std::string &didl, std::vector<MediaObject> &objects) {
    return parse(didl, onObject, objects);
}

std::string importUrlOf(const std::string &didl) {
    std::string url;
    parse(didl, onMadeObject, url);
    return url;
}

} // namespace mrb::dlna
