// Resolution of attach points.
#include "tools/ocmd_compile/attachments.h"

#include "tools/support/tree_input.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace compiler {

std::vector<std::string_view> attach_points(const Document &document) {
    std::vector<std::string_view> points;
    for (const std::string_view name : tool::attach_names(document.attach_path)) {
        const std::string_view point = name.substr(0, TREE_NAME_SIZE - 1);
        if (std::ranges::find(points, point) == points.end())
            points.push_back(point);
    }
    return points;
}

bool is_detached(const Document &document) {
    return attach_points(document).empty();
}

Attachments::Attachments(std::span<const Document> documents) {
    for (const Document &document : documents)
        for (const std::string_view point : attach_points(document)) {
            below_[point].push_back(&document);
            all_.push_back({&document, point, nullptr, nullptr});
        }
    if (all_.empty())
        return;
    std::unordered_map<std::string_view, std::pair<const Document *, const Word *>> words;
    for (const Document &document : documents)
        for (const Word &word : document.words)
            if (below_.contains(word.name))
                words.try_emplace(word.name, &document, &word);
    for (Attachment &attachment : all_)
        if (const auto found = words.find(attachment.point); found != words.end())
            std::tie(attachment.parent, attachment.word) = found->second;
    for (std::span<const Attachment> rest = all_; !rest.empty();) {
        const auto other = std::ranges::find_if(rest, [&](const Attachment &attachment) {
            return attachment.child != rest.front().child;
        });
        const auto count = static_cast<size_t>(other - rest.begin());
        of_[rest.front().child] = rest.first(count);
        rest = rest.subspan(count);
    }
}

std::span<const Attachment> Attachments::of(const Document &document) const {
    const auto found = of_.find(&document);
    return found == of_.end() ? std::span<const Attachment>{} : found->second;
}

std::span<const Document *const> Attachments::below(std::string_view name) const {
    const auto found = below_.empty() ? below_.end() : below_.find(name);
    return found == below_.end() ? std::span<const Document *const>{} : found->second;
}

} // namespace compiler
