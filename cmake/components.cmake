# The components of the library, lowest first, each with those it may include headers from. This is
# the only list of them: scripts read it too (scripts/components.sh), one call on one line.
#
# tsh_component(FOLDER [INTERNAL] [INCLUDES FOLDER...]): INTERNAL components export nothing and
# install no headers.
tsh_component(platform)
tsh_component(base INTERNAL INCLUDES platform)
tsh_component(feature/tsh/src INCLUDES platform base)
tsh_component(bmask INCLUDES platform base)
tsh_component(parse_tree INCLUDES platform base feature/tsh/src bmask)
tsh_component(atnode INCLUDES platform base feature/tsh/src parse_tree)
tsh_component(param_reg INCLUDES platform base feature/tsh/src parse_tree)
tsh_component(treelink INCLUDES platform base feature/tsh/src parse_tree param_reg)
tsh_component(cmd_gen INCLUDES platform base feature/tsh/src bmask parse_tree atnode param_reg)
tsh_component(resolve INCLUDES platform base feature/tsh/src bmask parse_tree atnode param_reg cmd_gen)
