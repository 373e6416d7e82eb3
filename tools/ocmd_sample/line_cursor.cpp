// The path from the root is a stack: each frame knows the numbers of the lines below it.
#include "tools/ocmd_sample/line_cursor.h"

#include "base/chunk_copy.h"

namespace sample {

namespace {

constexpr size_t kOnlyRecord = 0; // of the file
constexpr uint16_t kRootNode = 0;
constexpr uint32_t kOmitsSlash = Word::kSlash.size() - 1; // between words is its space
constexpr uint32_t kOmitsAll = Word::kSlash.size();

// Bytes that are written for a word besides its text: its separator, a newline, the end of a chunk.
constexpr size_t kMostAdded = Word::kSlash.size() + 1 + base::kCopyChunk;

} // namespace

LineCursor::LineCursor(const LineNumbers &numbers, LineSpeller *speller)
    : numbers_(numbers), divisions_(numbers.divisions(kOnlyRecord)), speller_(speller),
      has_doubts_(speller != nullptr && speller->has_doubts()), nodes_(1), frames_(2),
      text_(kMostAdded, '\0') {
    line_.record = kOnlyRecord;
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
        end_ = add(kRootNode, depth_, end_);
    top_ = 0;
    frames_[0] = {depth_ > 0 && root.has_line ? 1U : 0U, numbers_.count().low(), &root, end_};
}

// The line of a node is the one before the first below it.
void LineCursor::move_to(uint64_t number) {
    if (number < number_)
        begin();
    number_ = number;
    Frame *frame = &frames_[top_];
    while (frame->end <= number)
        --frame;
    auto top = static_cast<size_t>(frame - frames_.data());
    size_t depth = top + 1 - root_frames_;
    TextEnd text = frame->text;
    while (number >= frame->first) {
        const LineNumbers::Division &parent = *frame->division;
        const LineNumbers::Share share = divisions_.share(parent, number - frame->first);
        if (depth == nodes_.size()) {
            make_room();
            frame = &frames_[top];
        }
        nodes_[depth++] = share.child;
        if (speller_ != nullptr)
            text = add(share.child, depth, text);
        if (parent.leads_to_ends)
            break;
        const LineNumbers::Division &division = divisions_.of[share.child];
        if (!division.leads_on)
            break;
        const uint64_t first = frame->first;
        *++frame = {first + share.begin + (division.has_line ? 1 : 0), first + share.end, &division,
                    text};
        ++top;
    }
    top_ = top;
    depth_ = depth;
    end_ = text;
    text_[text.length] = '\n';
}

// For twice as many nodes.
void LineCursor::make_room() {
    nodes_.resize(2 * nodes_.size());
    frames_.resize(nodes_.size() + 1);
}

void LineCursor::make_room(size_t length) {
    text_.resize(2 * (length + kMostAdded));
}

// Adds the word of the last node, with what separates it from the word before. Inlined in the loop
// of move_to, which takes a fifth less instructions.
[[gnu::always_inline]] inline LineCursor::TextEnd LineCursor::add(uint16_t node, size_t depth,
                                                                  TextEnd end) {
    const Word &word = speller_->word(kOnlyRecord, node);
    if (has_doubts_ && (end.is_certain == 0 || !is_certain(word, depth))) {
        end.is_certain = 0;
        return end;
    }
    if (word.size() > 0 || end.omitted == 0) {
        if (text_.size() < end.length + word.size() + kMostAdded)
            make_room(end.length + word.size());
        char *text = text_.data();
        end.length =
            static_cast<uint32_t>(word.copy_separated(end.omitted, text + end.length) - text);
        end.omitted = word.size() > 0 ? kOmitsSlash : kOmitsAll;
    }
    if (word.has(Word::kSubmode))
        end.omitted = 0;
    return end;
}

bool LineCursor::is_certain(const Word &word, size_t depth) {
    return !word.has(Word::kWithoutValue) &&
           !speller_->adds_doubt(kOnlyRecord, std::span{nodes_}.first(depth));
}

template <typename Number>
void LineCursor::write(std::span<const Number> numbers, tool::TextOutput &output,
                       const std::function<void(const Line &line)> &write_other) {
    for (const Number number : numbers) {
        move_to(number);
        if (!is_certain())
            write_other(line());
        else if (end_.length < tool::TextOutput::kMostRoom)
            output.take_until(base::copy_in_chunks(output.room(), text()));
        else
            output << text();
    }
}

template void LineCursor::write(std::span<const uint32_t> numbers, tool::TextOutput &output,
                                const std::function<void(const Line &line)> &write_other);
template void LineCursor::write(std::span<const uint64_t> numbers, tool::TextOutput &output,
                                const std::function<void(const Line &line)> &write_other);

} // namespace sample
