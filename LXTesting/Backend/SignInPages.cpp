#include <array>

#include <openssl/evp.h>

#include "LXTesting/Backend/RouterInternal.h"
#include "LXUtils/Foundation/HTMLText.h"
#include "LXUtils/Foundation/PercentEncoding.h"

namespace lx::backend {

namespace {

// The page's own fields, beside the parameters that it was opened with.
constexpr std::string_view userField = "user";
constexpr std::string_view loginTypeField = "login_type";

std::string button(std::string_view name, std::string_view value, std::string_view label) {
  std::string result = "<p><button name=\"";
  return result.append(name)
      .append("\" value=\"")
      .append(htmlEscaped(value))
      .append("\">")
      .append(htmlEscaped(label))
      .append("</button></p>\n");
}

/// One form that carries the parameters on and has a button for each user and for each way out.
ServerResponse page(const World& world, const ServerRequest& request, const FormFields& parameters,
                    std::initializer_list<std::pair<std::string_view, std::string_view>> waysOut) {
  std::string html =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head><meta charset=\"utf-8\"><title>Sign in</title></head>\n<body>\n"
      "<h1>Sign in</h1>\n<form method=\"post\" action=\"" +
      htmlEscaped(request.path) + "\">\n";
  for (const auto& [name, value] : parameters) {
    html += "<input type=\"hidden\" name=\"" + htmlEscaped(name) + "\" value=\"" + htmlEscaped(value) + "\">\n";
  }
  for (const auto& user : world.accounts.users()) {
    if (user.key != "anonymous") html += button(userField, user.key, "Continue as " + user.key);
  }
  for (const auto& [loginType, label] : waysOut) html += button(loginTypeField, loginType, label);
  html += "</form>\n</body>\n</html>\n";
  return {.status = 200,
          .contentType = "text/html; charset=utf-8",
          .body = std::move(html),
          .headers = {{"Cache-Control", "no-store"}}};
}

ServerResponse redirect(std::string target, std::initializer_list<std::pair<std::string_view, std::string>> fields) {
  char separator = target.find('?') == std::string::npos ? '?' : '&';
  for (const auto& [name, value] : fields) {
    target.append(1, std::exchange(separator, '&'))
        .append(name)
        .append("=")
        .append(percentEncode(value, CharacterSet::unreserved));
  }
  return {.status = 302, .headers = {{"Location", std::move(target)}}};
}

ServerResponse missing(std::string_view name) {
  return errorResponse(400, "invalid_request", "Missing or wrong " + std::string(name));
}

/// The first parameter of an authorization request that is not as it must be.
std::optional<std::string_view> wrongParameter(const FormFields& parameters) {
  for (const auto* name : {"code_challenge", "client_id", "redirect_uri", "state"}) {
    if (fieldValue(parameters, name).value_or("").empty()) return name;
  }
  constexpr std::array<std::pair<std::string_view, std::string_view>, 3> fixed{
      {{"response_type", "code"}, {"response_mode", "query"}, {"scope", "lexiconia.corva.all"}}};
  for (const auto& [name, value] : fixed) {
    if (fieldValue(parameters, name) != value) return name;
  }
  return std::nullopt;
}

OrRefusal<FormFields> submittedForm(const ServerRequest& request) {
  if (request.mediaType() != "application/x-www-form-urlencoded") {
    return refuse(errorResponse(415, "unsupported_media_type", "The body must be a form"));
  }
  return formFields(request.body);
}

/// The user whose button was pressed.
OrRefusal<UserPointer> chosenUser(const World& world, const FormFields& form) {
  auto user = world.accounts.find(fieldValue(form, userField).value_or(""));
  if (!user) return refuse(missing(userField));
  return unlessBlocked(std::move(user));
}

ServerResponse showAuthorizePage(const World& world, const ServerRequest& request) {
  const auto parameters = formFields(request.query);
  if (const auto wrong = wrongParameter(parameters)) return missing(*wrong);
  return page(world, request, parameters, {{"cancel", "Cancel"}});
}

ServerResponse authorize(World& world, const ServerRequest& request) {
  const auto form = submittedForm(request);
  if (!form) return form.error();
  if (const auto wrong = wrongParameter(*form)) return missing(*wrong);
  const auto target = *fieldValue(*form, "redirect_uri");
  const auto state = *fieldValue(*form, "state");
  if (fieldValue(*form, loginTypeField) == "cancel") {
    return redirect(target, {{"state", state}, {loginTypeField, "cancel"}});
  }
  const auto user = chosenUser(world, *form);
  if (!user) return user.error();
  const auto code =
      world.codes.issue(*fieldValue(*form, "code_challenge"), {(*user)->id, *fieldValue(*form, "client_id")});
  const auto* action = fieldValue(*form, "screen_hint") == "signup" ? "signup" : "signin";
  return redirect(target, {{"code", code}, {"state", state}, {loginTypeField, "success"}, {"action", action}});
}

ServerResponse showSessionPage(const World& world, const ServerRequest& request) {
  const auto parameters = formFields(request.query);
  for (const auto* name : {"code_challenge", "client_id"}) {
    if (fieldValue(parameters, name).value_or("").empty()) return missing(name);
  }
  return page(world, request, parameters,
              {{"use_google", "Continue with Google"}, {"use_apple", "Continue with Apple"}, {"cancel", "Cancel"}});
}

ServerResponse submitSessionPage(World& world, const ServerRequest& request, const std::string& action) {
  const auto form = submittedForm(request);
  if (!form) return form.error();
  const auto challenge = fieldValue(*form, "code_challenge").value_or("");
  const auto clientID = fieldValue(*form, "client_id").value_or("");
  if (challenge.empty() || clientID.empty()) return missing("code_challenge or client_id");
  if (const auto loginType = fieldValue(*form, loginTypeField)) {
    return redirect(world.appRedirectURI, {{"code_challenge", challenge}, {loginTypeField, *loginType}});
  }
  const auto user = chosenUser(world, *form);
  if (!user) return user.error();
  const auto code = world.codes.issue(challenge, {(*user)->id, clientID});
  return redirect(world.appRedirectURI,
                  {{"code_challenge", challenge}, {loginTypeField, "success"}, {"code", code}, {"action", action}});
}

std::string decodedBase64(const std::string& text) {
  std::string bytes(text.size(), '\0');
  const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                   reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
  bytes.resize(static_cast<std::size_t>(std::max(size, 0)));
  // The padding counts as zero bytes there.
  while (bytes.ends_with('\0')) bytes.pop_back();
  return bytes;
}

/// An organisation's sign-in, which has nothing to ask: on to where the browser wanted to go.
ServerResponse singleSignOn(const ServerRequest& request) {
  const auto location = decodedBase64(fieldValue(formFields(request.query), "originalLocation").value_or(""));
  if (!location.starts_with("https://")) return missing("originalLocation");
  return redirect(location, {});
}

}  // namespace

void addSignInPages(Router& router, World& world) {
  const std::string authorizePath = "/v4/api/oauth2/authorize";
  router.add("GET", authorizePath, [&](const auto& request) { return showAuthorizePage(world, request); });
  router.add("POST", authorizePath, [&](const auto& request) { return authorize(world, request); });
  for (const std::string action : {"signin", "signup"}) {
    const auto path = "/" + action + "/app";
    router.add("GET", path, [&](const auto& request) { return showSessionPage(world, request); });
    router.add("POST", path, [&, action](const auto& request) { return submitSessionPage(world, request, action); });
  }
  router.add("GET", "/sso/signin", singleSignOn);
}

}  // namespace lx::backend
