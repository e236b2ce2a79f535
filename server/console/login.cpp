// Log-on and log-off: the form, the check of a console user's password, the session cookie,
// and the slowing of a client that keeps failing.
#include <mutex>

#include "server/console/console_pages.h"
#include "sql/password_hash.h"

namespace {

// Said for an unknown user and a wrong password alike.
constexpr const char* kRefused = "The user name or password is wrong.";

// Decodes one application/x-www-form-urlencoded value ("+" a blank, %XX a byte).
std::string FormDecoded(std::string_view text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto hex = [](char c) -> int {
            if (c >= '0' && c <= '9') return c - '0';
            if (c >= 'a' && c <= 'f') return c - 'a' + 10;
            if (c >= 'A' && c <= 'F') return c - 'A' + 10;
            return -1;
        };
        if (text[i] == '+') {
            decoded += ' ';
        } else if (text[i] == '%' && i + 2 < text.size() && hex(text[i + 1]) >= 0 && hex(text[i + 2]) >= 0) {
            decoded += static_cast<char>(hex(text[i + 1]) * 16 + hex(text[i + 2]));
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

// The first field `name` of a form body; empty when absent.
std::string FormField(const std::string& body, const char* name) {
    const std::string wanted = std::string(name) + "=";
    std::size_t at = 0;
    while (at <= body.size()) {
        std::size_t end = body.find('&', at);
        if (end == std::string::npos) end = body.size();
        const std::string_view pair(body.data() + at, end - at);
        if (pair.substr(0, wanted.size()) == wanted) return FormDecoded(pair.substr(wanted.size()));
        at = end + 1;
    }
    return {};
}

// Only a path of this site is followed after log-on ("/assets?q=x"), never another host
// ("//host", "/\host", "https://...").
std::string LocalTarget(const std::string& next) {
    if (next.empty() || next[0] != '/' || next.size() > 2048) return "/";
    if (next.size() > 1 && (next[1] == '/' || next[1] == '\\')) return "/";
    for (const char c : next)
        if (static_cast<unsigned char>(c) < 0x20 || c == '\\') return "/";
    return next;
}

// A form post from another site is refused: browsers name the page's origin on every post.
bool SameOrigin(const HttpRequest& request) {
    const std::string origin = request.Header("Origin");
    if (origin.empty() || origin == "null") return origin.empty();
    const std::string host = request.Header("Host");
    return origin == "http://" + host || origin == "https://" + host;
}

// Unknown users cost as much time as known ones, so the answer's delay does not tell which
// names exist.
void SpendVerifyTime(const std::string& password) {
    static std::once_flag made;
    static CString dummy;
    std::call_once(made, [] { dummy = HashPassword("not a password of anyone"); });
    (void)VerifyPasswordHash(dummy, password.c_str());
}

HttpResponse Form(const ConsoleRequest& request, int status, const std::string& message, const std::string& user,
                  const std::string& next) {
    mstch::map context{{"message", message}, {"user", user}, {"next", next}};
    return ConsolePage(request, "Log on", "login", context, status);
}

std::string SessionCookie(const ConsoleRequest& request, const std::string& token, long long maxAge) {
    std::string cookie = std::string(kConsoleCookie) + "=" + token +
                         "; Path=/; HttpOnly; SameSite=Strict; Max-Age=" + std::to_string(maxAge);
    if (request.http.tls) cookie += "; Secure";
    return cookie;
}

HttpResponse Redirect(const std::string& target) {
    HttpResponse response = TextResponse(303, "See " + target);
    response.SetHeader("Location", target);
    return response;
}

}  // namespace

HttpResponse LoginPage(const ConsoleRequest& request, ConsoleSessions& sessions, bool secured) {
    if (request.api || !request.rest.empty()) return ConsoleError(request, 404, "Not found");
    if (request.http.method != "POST") {
        if (!secured) return Redirect("/");
        return Form(request, 200, "", "", LocalTarget(request.http.Query("next", "/")));
    }
    if (!SameOrigin(request.http)) return ConsoleError(request, 403, "A log-on from another site is refused");
    if (request.http.body.size() > kConsoleMaxFormBody) return ConsoleError(request, 413, "The form is too large");
    const std::string user = FormField(request.http.body, "user");
    const std::string password = FormField(request.http.body, "password");
    const std::string next = LocalTarget(FormField(request.http.body, "next"));
    if (!secured) return Redirect(next);

    const std::string client = request.http.client;
    if (const auto wait = sessions.WaitFor(client); wait.count() > 0) {
        HttpResponse slowed =
            Form(request, 429, "Too many failed log-ons: try again in " + std::to_string(wait.count()) + " seconds.",
                 user, next);
        slowed.SetHeader("Retry-After", std::to_string(wait.count()));
        return slowed;
    }
    const ULong id = user.empty() ? 0 : request.db.userFind(user.c_str());
    bool valid = false;
    if (id == 0)
        SpendVerifyTime(password);
    else
        valid = request.db.ValidatePassword(id, password.c_str()) != 0;
    if (!valid) {
        sessions.Failed(client);
        return Form(request, 401, kRefused, user, next);
    }
    sessions.Succeeded(client);
    const std::string token = sessions.Open(request.db.userGetName(id).str());
    HttpResponse response = Redirect(next);
    response.SetHeader("Set-Cookie", SessionCookie(request, token, request.settings.sessionLifetime.count()));
    return response;
}

HttpResponse LogoutPage(const ConsoleRequest& request, ConsoleSessions& sessions) {
    if (request.api || !request.rest.empty()) return ConsoleError(request, 404, "Not found");
    if (request.http.method != "POST")
        return ConsolePage(request, "Log off", "logout", mstch::map{{"signedIn", !request.user.empty()}});
    if (!SameOrigin(request.http)) return ConsoleError(request, 403, "A log-off from another site is refused");
    sessions.Close(SessionToken(request.http));
    HttpResponse response = Redirect("/login");
    response.SetHeader("Set-Cookie", SessionCookie(request, "", 0));
    return response;
}
