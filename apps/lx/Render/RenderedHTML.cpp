#include <algorithm>
#include <vector>

#include "LXUtils/Foundation/HTMLText.h"

#include "lx/Render/ItemNumbers.h"
#include "lx/Render/LineText.h"
#include "lx/Render/RenderForms.h"

namespace lx::tool {
namespace {

using namespace DeltaRenderUtils;
using ListType = Attributes::ListType;

/// The address that the piece links to, when following it can do no more than open a page or a letter.
const std::string* linkOf(const LinePiece& piece) {
  const auto found = piece.attributes->values().find("link");
  if (found == piece.attributes->values().end()) return nullptr;
  const auto* link = std::get_if<std::string>(&found->second.value);
  const bool isHarmless =
      link && (link->starts_with("https://") || link->starts_with("http://") || link->starts_with("mailto:"));
  return isHarmless ? link : nullptr;
}

std::string contentOf(const DeltaLines& lines) {
  constexpr std::pair<const char*, std::string_view> formats[] = {
      {"code", "code"}, {"bold", "strong"}, {"italic", "em"}, {"underline", "u"}, {"strike", "s"}};
  std::string content;
  eachPiece(lines, [&](const LinePiece& piece) {
    std::string html = piece.embed.empty() ? htmlEscaped(piece.text)
                                           : "<span class=\"embed\">[" + htmlEscaped(piece.embed) + "]</span>";
    for (const auto& [format, tag] : formats) {
      if (piece.is(format)) html = "<" + std::string(tag) + ">" + html + "</" + std::string(tag) + ">";
    }
    if (const auto* link = linkOf(piece)) html = "<a href=\"" + htmlEscaped(*link) + "\">" + html + "</a>";
    content += html;
  });
  return content;
}

class Page {
 public:
  std::string build(const Delta& delta, const RenderInfo& renderInfo) {
    for (DeltaLines lines(delta); lines.next();) {
      const LineInfo& line = *renderInfo.lines.find(lines.index());
      const auto content = contentOf(lines);
      if (const auto item = line.lineType.listItem()) {
        openLists(*item->info);
        openItem(line, *item->info);
        body_ += content;
      } else {
        closeLists(0);
        addBlock(line, content);
      }
    }
    closeLists(0);
    return "<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n<title>Document</title>\n<style>\n"
           "body { font-family: sans-serif; max-width: 45em; margin: 2em auto; line-height: 1.5; }\n"
           "p { margin: 0; white-space: pre-wrap; }\nli.level { list-style: none; }\n"
           "ul.checklist { list-style: none; padding-left: 1.2em; }\n.embed { color: gray; }\n"
           "</style>\n</head>\n<body>\n" +
           body_ + "</body>\n</html>";
  }

 private:
  struct OpenList {
    const ListInfo* list;
    std::string_view tag;
    bool hasOpenItem = false;
    std::int64_t shownNumber = 0;  // that a browser gave the last item
  };

  void addBlock(const LineInfo& line, const std::string& content) {
    const auto heading = line.lineType.heading();
    const std::string tag = heading ? "h" + std::to_string(std::min(heading->level, deepestHeading)) : "p";
    body_ += "<" + tag;
    if (line.indent() > 0) {
      body_ += " style=\"margin-left: " + std::to_string(2 * std::min(line.indent(), deepestIndent)) + "em\"";
    }
    body_ += ">" + (content.empty() ? "<br>" : content) + "</" + tag + ">\n";
  }

  /// Leaves those lists open, and no others, that lead to `list`; on the way, each has an open item.
  void openLists(const ListInfo& list) {
    std::vector<const ListInfo*> path{&list};
    std::vector<std::shared_ptr<ListInfo>> parents;
    for (auto parent = list.parentList(); parent; parent = parent->parentList()) {
      path.push_back(parent.get());
      parents.push_back(parent);
    }
    std::ranges::reverse(path);
    std::size_t common = 0;
    while (common < path.size() && common < open_.size() && open_[common].list == path[common]) ++common;
    // A list whose parent is gone still stands below those that are open and less indented.
    std::size_t kept = common;
    if (common == 0) {
      while (kept < open_.size() && open_[kept].list->indent() < path.front()->indent()) ++kept;
    }
    closeLists(kept);
    for (std::size_t i = common; i < path.size(); ++i) {
      if (!open_.empty() && !open_.back().hasOpenItem) {
        body_ += "<li class=\"level\">";
        open_.back().hasOpenItem = true;
        ++open_.back().shownNumber;
      }
      const auto type = typeOf(*path[i]);
      open_.push_back({path[i], type == ListType::ordered ? "ol" : "ul"});
      body_ += type == ListType::ordered  ? "<ol>\n"
               : type == ListType::bullet ? "<ul>\n"
                                          : "<ul class=\"checklist\">\n";
    }
  }

  void openItem(const LineInfo& line, const ListInfo& list) {
    auto& open = open_.back();
    closeItem(open);
    const auto number = numbers_.next(list);
    const auto type = typeOf(list);
    body_ += "<li";
    if (type == ListType::ordered && ++open.shownNumber != number) {
      body_ += " value=\"" + std::to_string(number) + "\"";
      open.shownNumber = number;
    }
    body_ += ">";
    if (type == ListType::checklist) {
      body_ += isChecked(line) ? "<input type=\"checkbox\" disabled checked> " : "<input type=\"checkbox\" disabled> ";
    }
    open.hasOpenItem = true;
  }

  void closeItem(OpenList& open) {
    if (open.hasOpenItem) body_ += "</li>\n";
    open.hasOpenItem = false;
  }

  void closeLists(std::size_t remaining) {
    for (; open_.size() > remaining; open_.pop_back()) {
      closeItem(open_.back());
      body_.append("</").append(open_.back().tag).append(">\n");
    }
  }

  std::string body_;
  std::vector<OpenList> open_;
  ItemNumbers numbers_;
};

}  // namespace

std::string renderedHTML(const Delta& delta, const RenderInfo& renderInfo) { return Page().build(delta, renderInfo); }

}  // namespace lx::tool
