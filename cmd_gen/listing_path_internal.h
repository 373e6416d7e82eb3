// The way from the first node of a listing to the node in hand, as the process shows it: the line
// so far, the traversal stack and the submode depth.
#pragma once

#include "atnode/stack.h"
#include "cmd_gen/command_line_internal.h"
#include "cmd_gen/line_walk_internal.h"
#include "cmd_gen/listing_internal.h"

namespace tsh {

class ListingPath {
public:
    struct Frame {
        CommandLine::Mark outer;
        bool in_submode; // of the node's own
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

    /// A level that the full stack does not hold has a first child, but no next sibling is found.
    static bool finds_siblings() { return stack.atn_stack_top < ATN_STACK_SIZE; }

protected:
    CommandLine line_;
};

} // namespace tsh
