// The path from the root is a stack: each frame knows the numbers of the lines below it.
#include "tools/ocmd_sample/line_cursor.h"

#include "base/chunk_copy.h"

#include <span>

namespace sample {

namespace {

constexpr size_t kOnlyRecord = 0; // of the file
constexpr uint16_t kRootNode = 0;
constexpr uint8_t kOmitsSlash = Word::kSlash.size() - 1; // between words is its space
constexpr uint8_t kOmitsAll = Word::kSlash.size();

} // namespace

LineCursor::LineCursor(const LineNumbers &numbers, LineSpeller *speller)
    : numbers_(numbers), divisions_(numbers.divisions(kOnlyRecord)), speller_(speller),
      has_doubts_(speller != nullptr && speller->has_doubts()), nodes_(1) {
    make_room(1);
    begin();
}

// The root, whose word is part of the lines of some files.
void LineCursor::begin() {
    const LineNumbers::Division &root = *divisions_.of;
    depth_ = numbers_.begins_with_root(kOnlyRecord) ? 1 : 0;
    root_frames_ = 1 - depth_;
    nodes_[0] = kRootNode;
    end_ = {};
    if (depth_ > 0 && speller_ != nullptr)
        end_ = add(kRootNode, {});
    frames_.assign(1, {depth_ > 0 && root.has_line ? 1U : 0U, numbers_.count().low(), &root, end_});
}

// Leaves the nodes above no line from the number on.
void LineCursor::leave(uint64_t number) {
    while (frames_.back().end <= number)
        frames_.pop_back();
    depth_ = frames_.size() - root_frames_;
    end_ = frames_.back().text;
}

// The line of a node is the one before the first below it.
void LineCursor::move_to(uint64_t number) {
    if (number < number_)
        begin();
    number_ = number;
    leave(number);
    for (Frame frame = frames_.back(); number >= frame.first;) {
        const LineNumbers::Share share = divisions_.share(*frame.division, number - frame.first);
        const LineNumbers::Division &division = divisions_.of[share.child];
        if (depth_ == nodes_.size())
            nodes_.resize(2 * depth_);
        nodes_[depth_++] = share.child;
        if (speller_ != nullptr)
            end_ = add(share.child, end_);
        if (!division.leads_on)
            break;
        frame = {frame.first + share.begin + (division.has_line ? 1 : 0), frame.first + share.end,
                 &division, end_};
        frames_.push_back(frame);
    }
    text_[end_.length] = '\n';
}

void LineCursor::make_room(size_t length) {
    if (text_.size() < length + base::kCopyChunk)
        text_.resize(2 * length + base::kCopyChunk);
}

// Adds the word of the last node.
LineCursor::TextEnd LineCursor::add(uint16_t node, TextEnd end) {
    const Word &word = speller_->word(kOnlyRecord, node);
    if (has_doubts_)
        end.is_certain = end.is_certain && !word.has(Word::kWithoutValue) &&
                         !speller_->adds_doubt(kOnlyRecord, std::span{nodes_}.first(depth_));
    if (word.size() > 0 || end.omitted == 0) {
        const std::string_view added = word.separated().substr(end.omitted);
        make_room(end.length + added.size() + 1);
        base::copy_in_chunks(text_.data() + end.length, added);
        end.length += added.size();
        end.omitted = word.size() > 0 ? kOmitsSlash : kOmitsAll;
    }
    if (word.has(Word::kSubmode))
        end.omitted = 0;
    return end;
}

} // namespace sample
