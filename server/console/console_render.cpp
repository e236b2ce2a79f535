// The console's shared answers, request values and formatting.
#include "server/console/console_render.h"

#include <cstdio>

#include "server/console/console_assets.h"

namespace {

std::string TemplateText(const char* name) {
    const ConsoleAsset* asset = FindConsoleAsset(std::string(name) + ".mustache");
    return asset ? asset->text : std::string();
}

std::string Trimmed(std::string text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return {};
    const auto last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

}  // namespace

std::string RenderTemplate(const char* name, const mstch::map& context) {
    return mstch::render(TemplateText(name), context);
}

HttpResponse ConsolePage(const ConsoleRequest& request, const std::string& title, const char* name, mstch::map context,
                         int status) {
    const std::string content = RenderTemplate(name, context);
    mstch::map layout{{"title", title}, {"content", content}, {"user", request.user}};
    layout.emplace("signedIn", !request.user.empty());
    HttpResponse response;
    response.status = status;
    response.contentType = "text/html; charset=utf-8";
    response.body = RenderTemplate("layout", layout);
    return response;
}

HttpResponse ConsoleJson(const rapidjson::StringBuffer& json, int status) {
    HttpResponse response;
    response.status = status;
    response.contentType = "application/json";
    response.body.assign(json.GetString(), json.GetSize());
    return response;
}

HttpResponse ConsoleError(const ConsoleRequest& request, int status, const std::string& text) {
    if (request.api) {
        rapidjson::StringBuffer buffer;
        JsonWriter json(buffer);
        json.StartObject();
        JsonKeyString(json, "error", text);
        json.EndObject();
        return ConsoleJson(buffer, status);
    }
    return ConsolePage(request, text, "message", mstch::map{{"message", text}}, status);
}

std::optional<ULong> ParseId(std::string_view text) {
    if (text.empty() || text.size() > 10) return std::nullopt;
    unsigned long long value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return std::nullopt;
        value = value * 10 + static_cast<unsigned>(c - '0');
    }
    if (value == 0 || value > 0x7FFFFFFFull) return std::nullopt;
    return static_cast<ULong>(value);
}

std::optional<ULong> ParsePage(const HttpRequest& request) {
    const std::string text = request.Query("page", "1");
    const std::optional<ULong> page = ParseId(text);
    if (!page || *page > kConsoleMaxPage) return std::nullopt;
    return page;
}

std::optional<std::string> ParseSearch(const HttpRequest& request, const char* name) {
    std::string text = Trimmed(request.Query(name));
    if (text.size() > kConsoleMaxSearch) return std::nullopt;
    return text;
}

mstch::map PagingContext(const Paging& paging, const std::string& base, const std::string& query) {
    const std::string joiner = query.empty() ? "?" : "?" + query + "&";
    const ULong first = paging.total == 0 ? 0 : paging.Offset() + 1;
    const ULong last = std::min<ULong>(paging.total, paging.Offset() + kConsolePageSize);
    mstch::map context{{"first", FormatCount(first)},
                       {"last", FormatCount(last)},
                       {"total", FormatCount(paging.total)},
                       {"page", FormatCount(paging.page)},
                       {"pages", FormatCount(paging.Pages())}};
    if (paging.page > 1) context.emplace("previous", base + joiner + "page=" + std::to_string(paging.page - 1));
    if (paging.page < paging.Pages())
        context.emplace("next", base + joiner + "page=" + std::to_string(paging.page + 1));
    return context;
}

void WritePaging(JsonWriter& json, const Paging& paging) {
    JsonKeyNumber(json, "total", paging.total);
    JsonKeyNumber(json, "page", paging.page);
    JsonKeyNumber(json, "pages", paging.Pages());
    JsonKeyNumber(json, "pageSize", kConsolePageSize);
}

std::string FormatTime(CTime time) {
    if (time.IsNever()) return "never";
    const DateTimeParts parts = time.GetLocal();
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d", parts.year, parts.month, parts.day, parts.hour,
                  parts.minute);
    return text;
}

std::string FormatDay(CTime time) {
    if (time.IsNever()) return {};
    const DateTimeParts parts = time.GetLocal();
    char text[16];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", parts.year, parts.month, parts.day);
    return text;
}

std::string FormatCount(ULong count) {
    std::string digits = std::to_string(count);
    std::string text;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i != 0 && (digits.size() - i) % 3 == 0) text += "\u2009";
        text += digits[i];
    }
    return text;
}

std::string UrlEncode(std::string_view text) {
    static const char kHex[] = "0123456789ABCDEF";
    std::string encoded;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
            byte == '-' || byte == '.' || byte == '_' || byte == '~') {
            encoded += c;
        } else {
            encoded += '%';
            encoded += kHex[byte >> 4];
            encoded += kHex[byte & 15];
        }
    }
    return encoded;
}

std::string ValidUtf8(std::string_view text) {
    std::string valid;
    valid.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size()) {
        const auto byte = static_cast<unsigned char>(text[i]);
        std::size_t length = 0;
        unsigned int lowest = 0;
        if (byte < 0x80)
            length = 1;
        else if ((byte & 0xE0) == 0xC0)
            length = 2, lowest = 0x80;
        else if ((byte & 0xF0) == 0xE0)
            length = 3, lowest = 0x800;
        else if ((byte & 0xF8) == 0xF0)
            length = 4, lowest = 0x10000;
        bool ok = length != 0 && i + length <= text.size();
        unsigned int code = length == 1 ? byte : byte & (0x7F >> length);
        for (std::size_t k = 1; ok && k < length; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            ok = (next & 0xC0) == 0x80;
            code = (code << 6) | (next & 0x3F);
        }
        // Overlong forms, surrogates and code points past U+10FFFF are not valid either.
        if (ok && length > 1) ok = code >= lowest && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
        if (ok) {
            valid.append(text.substr(i, length));
            i += length;
        } else {
            valid += "\xEF\xBF\xBD";
            ++i;
        }
    }
    return valid;
}

void JsonString(JsonWriter& json, std::string_view text) {
    const std::string valid = ValidUtf8(text);
    json.String(valid.c_str(), static_cast<rapidjson::SizeType>(valid.size()));
}

void JsonKeyString(JsonWriter& json, const char* key, std::string_view text) {
    json.Key(key);
    JsonString(json, text);
}

void JsonKeyNumber(JsonWriter& json, const char* key, ULong number) {
    json.Key(key);
    json.Uint64(number);
}

void JsonKeyTime(JsonWriter& json, const char* key, CTime time) {
    json.Key(key);
    if (time.IsNever()) {
        json.Null();
        return;
    }
    const DateTimeParts parts = time.GetLocal();
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", parts.year, parts.month, parts.day, parts.hour,
                  parts.minute, parts.second);
    json.String(text);
}
