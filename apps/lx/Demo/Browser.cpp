#include "lx/Demo/Browser.h"

#include "LXServices/Environment/URLSchemeService.h"
#include "LXUtils/Foundation/URLQueryParameters.h"

#include "lx/Demo/Timeline.h"

namespace lx::tool {

BrowserRedirect signInWithBrowser(Stack& stack, const std::string& user, const std::string& codeChallenge,
                                  const std::string& state) {
  const auto& environment = *stack.environment();
  URLQueryParameters parameters;
  parameters.addValue(codeChallenge, "code_challenge");
  parameters.addValue(environment.clientType(), "client_id");
  parameters.addValue("query", "response_mode");
  parameters.addValue("code", "response_type");
  parameters.addValue("lexiconia.corva.all", "scope");
  parameters.addValue(URLSchemeService("lexiconia").oauthURL().string(), "redirect_uri");
  parameters.addValue(state, "state");

  const auto page = environment.authServiceURL().appendingPath("/v4/api/oauth2/authorize");
  const auto shown = must(stack.await(stack.session().send(URLRequest(HTTPMethod::get, parameters.applied(page)))));
  const bool offersUser = shown.body && textView(*shown.body).find("value=\"" + user + "\"") != std::string_view::npos;
  if (!offersUser) throw TourFailure{UnwrapError{"The authorization page does not offer the user"}};

  parameters.addValue(user, "user");
  const auto form = parameters.applied(page);
  const auto answer = must(stack.await(
      stack.session().send(URLRequest(HTTPMethod::post, page, HTTPContentType{"application/x-www-form-urlencoded"},
                                      dataOf(form.query().value_or(""))))));
  const auto location = answer.headers.value(HTTPHeaderName::location);
  if (!location) throw TourFailure{UnwrapError{"The authorization page does not lead back to the app"}};
  const URLQueryParameters brought(must(URL::makeAbsolute(*location)));
  return {brought.first("code").value_or(""), brought.first("state").value_or("")};
}

}  // namespace lx::tool
