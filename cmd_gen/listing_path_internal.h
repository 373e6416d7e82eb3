// Path from the first node of a listing to the current node: the line so far, and the traversal
// stack and submode depth of the process.
#pragma once

#include "atnode/stack.h"
#include "cmd_gen/command_line_internal.h"
#include "cmd_gen/line_walk_internal.h"
#include "cmd_gen/listing_internal.h"

namespace tsh {

class ListingPath {
public:
    explicit ListingPath(CommandLine &line) : line_(line) {}

    struct Frame {
        CommandLine::Mark outer;
        bool in_submode; // the node is a submode
    };

    Frame enter(const MetNode &node) {
        const Frame frame{line_.mark(), node.submode};
        if (node.submode) {
            ++submode_depth;
            line_.begin();
        } else {
            line_.append(node.word);
        }
        atnode_stack_push(node.record);
        return frame;
    }

    void leave(const Frame &frame) {
        atnode_stack_pop();
        if (frame.in_submode)
            --submode_depth;
        line_.cut_back(frame.outer);
    }

    /// If the stack is full, only the first child of a level is found, without its siblings.
    static bool finds_siblings() { return stack.atn_stack_top < ATN_STACK_SIZE; }

protected:
    CommandLine &line_;
};

} // namespace tsh
