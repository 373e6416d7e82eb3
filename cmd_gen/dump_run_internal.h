// The utility's dump of the whole main tree. A node with several parents has its record on every
// path, always the same one, so each record's text is made once.
#pragma once

// Prints the record of every node of the loaded tree in preorder on standard output. Ends the
// process when standard output takes no more.
void dump_main_tree();
