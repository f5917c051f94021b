#include <array>
#include <cstddef>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/RefreshVerdictInternal.h"

namespace lx {

StoreView viewOf(const StoredCredentials& stored, const OAuth2Credentials& credentials, Date now) {
  if (!stored) return StoreView::unreadable;
  if (!*stored) return StoreView::absent;
  if (haveSameTokens(**stored, credentials)) return StoreView::same;
  return (*stored)->needsRefresh(now) ? StoreView::movedOnExpiring : StoreView::movedOn;
}

RefreshVerdict verdictFor(RefreshMoment moment, StoreView view) {
  using enum RefreshVerdict;
  constexpr std::size_t moments = 8;
  constexpr std::size_t views = 5;
  // Only the holder of the lock refreshes what it finds. A waiter takes nothing that expires, unless a success was
  // posted for it. An answer that meets a store that cannot be read goes on: it is kept, as if the store could not be
  // written. A sign-in is given up only if the store was read and holds no other credentials.
  static constexpr std::array<std::array<RefreshVerdict, views>, moments> table{{
      //                    same  movedOn movedOnExpiring  absent        unreadable
      /* lockTaken      */ {goOn, take, refreshStored, failNotFound, failUnreadable},
      /* answerArrived  */ {goOn, take, refreshStored, failNotFound, goOn},
      /* tokenInvalid   */ {goOn, take, refreshStored, goOn, failUnreadable},
      /* exchangeFailed */ {goOn, take, refreshStored, goOn, failUnreadable},
      /* successHeard   */ {goOn, take, take, failNotFound, failUnreadable},
      /* failureHeard   */ {goOn, take, goOn, goOn, goOn},
      /* stillHeld      */ {goOn, take, goOn, failNotFound, goOn},
      /* boundReached   */ {goOn, take, goOn, failNotFound, goOn},
  }};
  return table[static_cast<std::size_t>(moment)][static_cast<std::size_t>(view)];
}

}  // namespace lx
