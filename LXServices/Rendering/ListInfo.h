#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "LXDelta/Attributes.h"
#include "LXUtils/Foundation/LinkedList.h"

namespace lx::DeltaRenderUtils {

class ListArena;
class ListInfo;

/// An item of a list, with the list nested in it.
struct ListItemInfo {
  std::optional<Attributes::ListType> type;
  std::shared_ptr<ListInfo> nestedList;  ///< none for an item without one
};

/// A list of a document, shared by the lines that belong to it. Lines and items own lists; a list does not own the list
/// that it is nested in.
class ListInfo : public std::enable_shared_from_this<ListInfo> {
 public:
  static std::shared_ptr<ListInfo> make(std::int64_t indent, const std::shared_ptr<ListInfo>& parent = nullptr);
  /// Without a parent, beside the other lists of a document: their memory is given back when all of them are gone.
  static std::shared_ptr<ListInfo> make(std::int64_t indent, ListArena& arena);

  /// Frees the nested lists that nobody else holds, however deep they are, without recursion.
  ~ListInfo();
  ListInfo(const ListInfo&) = delete;
  ListInfo& operator=(const ListInfo&) = delete;

  std::int64_t indent() const { return indent_; }
  /// None for a root, and once nobody holds the parent any more.
  std::shared_ptr<ListInfo> parentList() const { return parentList_.lock(); }
  const LinkedList<ListItemInfo>& items() const { return items_; }

  void append(ListItemInfo item);

  /// Puts `nested` into the last item, in the place of the list that is there, and makes this list its parent. The item
  /// keeps its type, or takes `type` when it has none; a list without items gets one.
  void append(std::shared_ptr<ListInfo> nested, Attributes::ListType type);

 private:
  struct Shared;

  ListInfo(std::int64_t indent, const std::shared_ptr<ListInfo>& parent) : indent_(indent), parentList_(parent) {}

  std::int64_t indent_;
  std::weak_ptr<ListInfo> parentList_;
  LinkedList<ListItemInfo> items_;
};

}  // namespace lx::DeltaRenderUtils
