#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthModel.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/UserAuthData.h"
#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Foundation/Date.h"
#include "LXUtils/Foundation/URL.h"

namespace lx {

/// A record that carries the user's authentication data: `withAuth` gives a copy with other data attached.
template <class T>
concept AuthBearer = requires(const T& record, UserAuthData data) {
  { record.withAuth(data) } -> std::same_as<T>;
};

/// The signed-in, or anonymous, user's profile as the backend tells it and as the apps store it.
struct UserModel {
  /// The organisation that the user belongs to.
  struct InstitutionInfo {
    /// The organisation's brand settings.
    struct KivInfo {
      std::string companyName;
      bool isStyleGuideEnabled = false;  ///< there is a style guide that the apps may fetch
      std::optional<URL> logoURL;        ///< absolute

      bool operator==(const KivInfo&) const = default;
    };

    /// The server may add types.
    struct OrganizationType {
      std::string rawValue;

      static const OrganizationType business;
      static const OrganizationType edu;
      static const OrganizationType gov;
      static const OrganizationType k12;
      static const OrganizationType ngo;

      bool operator==(const OrganizationType&) const = default;
    };

    std::int64_t id = 0;
    std::string name;
    bool isAdmin = false;  ///< the user administers the organisation
    bool isKivEnabled = false;
    std::optional<KivInfo> kivInfo;
    std::optional<OrganizationType> organizationType;

    bool operator==(const InstitutionInfo&) const = default;
  };

  /// Present when the organisation manages the account through single sign-on.
  struct ManagedModeInfo {
    bool compliant = false;
    std::string ssoID;
    std::string ssoURL;  ///< not parsed
    std::string institutionName;

    bool operator==(const ManagedModeInfo&) const = default;
  };

  /// The apps whose names may appear among the groups.
  enum class Client {
    mobileIOS,
    mobileAndroid,
    webeditor,
    officeAddin,
    crossPlatformOfficeAddin,
    desktopeditor,
    macExtension,
    windowsExtension,
    extensionSafari,
    extensionFirefox,
    extensionChrome,
    extensionEdge,
  };

  std::string id;
  std::optional<std::string> firstName;
  std::optional<std::string> name;
  std::string email;
  std::vector<std::string> groups;
  bool isAnonymous = false;
  bool isTest = false;
  std::optional<Date> registrationDate;
  std::optional<InstitutionInfo> institutionInfo;
  std::optional<ManagedModeInfo> managedModeInfo;
  UserAuthData authData;  ///< not on the wire; empty until someone attaches it
  std::optional<std::map<std::string, std::string>> customFields;

  std::optional<std::string> institutionName() const;
  std::optional<std::int64_t> institutionID() const;
  bool isInstitutionUser() const { return institutionInfo.has_value(); }

  /// True for a user who came by an invitation and claimed it.
  bool isClaimedUser() const;

  /// True for the maker's own people.
  bool isLexiconiaUser() const;

  /// The clients among the groups, in their order, repetitions included.
  std::vector<Client> clientList() const;

  AuthModel authModel() const { return {id, authData}; }

  /// Copies with other authentication data. The model's user identifier is not looked at.
  UserModel withAuth(UserAuthData data) const;
  UserModel withAuth(const AuthModel& model) const { return withAuth(model.authData); }

  /// Samples for previews.
  static UserModel example();
  static UserModel institutionExample();

  bool operator==(const UserModel&) const = default;
};

inline const UserModel::InstitutionInfo::OrganizationType UserModel::InstitutionInfo::OrganizationType::business{
    "BUSINESS"};
inline const UserModel::InstitutionInfo::OrganizationType UserModel::InstitutionInfo::OrganizationType::edu{"EDU"};
inline const UserModel::InstitutionInfo::OrganizationType UserModel::InstitutionInfo::OrganizationType::gov{"GOV"};
inline const UserModel::InstitutionInfo::OrganizationType UserModel::InstitutionInfo::OrganizationType::k12{"K12"};
inline const UserModel::InstitutionInfo::OrganizationType UserModel::InstitutionInfo::OrganizationType::ngo{"NGO"};

static_assert(AuthBearer<UserModel>);

/// True when a client other than the two mobile apps is among them.
bool hasDesktopClient(std::span<const UserModel::Client> clients);

template <>
struct RawValues<UserModel::Client> {
  using enum UserModel::Client;
  static constexpr std::array rows{
      RawValueRow{mobileIOS, "mobile-ios"},
      RawValueRow{mobileAndroid, "mobile-android"},
      RawValueRow{webeditor, "webeditor"},
      RawValueRow{officeAddin, "office-addin"},
      RawValueRow{crossPlatformOfficeAddin, "crossPlatformOfficeAddin"},
      RawValueRow{desktopeditor, "desktopeditor"},
      RawValueRow{macExtension, "macExtension"},
      RawValueRow{windowsExtension, "windowsExtension"},
      RawValueRow{extensionSafari, "extension-safari"},
      RawValueRow{extensionFirefox, "extension-firefox"},
      RawValueRow{extensionChrome, "extension-chrome"},
      RawValueRow{extensionEdge, "extension-edge"},
  };
};

/// The user record's dates: text as parseTimestamp reads it, in UTC without a zone designator.
struct UserDateFormat {
  static Decoded<Date> decode(JSONValue value);
  static void encode(JSONWriter& writer, Date value);
};

template <>
struct Coding<UserModel::InstitutionInfo::KivInfo> {
  using KivInfo = UserModel::InstitutionInfo::KivInfo;
  static constexpr auto fields = std::tuple{
      field("companyName", &KivInfo::companyName),
      field("styleGuideEnabled", &KivInfo::isStyleGuideEnabled),
      field<AbsoluteURLFormat>("logoUrl", &KivInfo::logoURL),
  };
};

template <>
struct Coding<UserModel::InstitutionInfo> {
  using InstitutionInfo = UserModel::InstitutionInfo;
  static constexpr auto fields = std::tuple{
      field("id", &InstitutionInfo::id),           field("name", &InstitutionInfo::name),
      field("admin", &InstitutionInfo::isAdmin),   defaulted("kivEnabled", &InstitutionInfo::isKivEnabled),
      field("kivInfo", &InstitutionInfo::kivInfo), field("organizationType", &InstitutionInfo::organizationType),
  };
};

template <>
struct Coding<UserModel::ManagedModeInfo> {
  using ManagedModeInfo = UserModel::ManagedModeInfo;
  static constexpr auto fields = std::tuple{
      field("compliant", &ManagedModeInfo::compliant),
      field("ssoId", &ManagedModeInfo::ssoID),
      field("ssoUrl", &ManagedModeInfo::ssoURL),
      field("institutionName", &ManagedModeInfo::institutionName),
  };
};

template <>
struct Coding<UserModel> {
  static constexpr auto fields = std::tuple{
      field("id", &UserModel::id),
      field("firstName", &UserModel::firstName),
      field("name", &UserModel::name),
      field("email", &UserModel::email),
      field("anonymous", &UserModel::isAnonymous),
      field("isTest", &UserModel::isTest),
      tolerant<UserDateFormat>("registrationDate", &UserModel::registrationDate),
      field("institutionInfo", &UserModel::institutionInfo),
      field("managedModeInfo", &UserModel::managedModeInfo),
      tolerant("groups", &UserModel::groups),
      field("customFields", &UserModel::customFields),
  };
};

}  // namespace lx
