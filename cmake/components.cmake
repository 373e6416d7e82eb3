# Components of the library, lowest first, each with the components whose headers it may include. Scripts
# read this list, too (scripts/components.sh); each call must be on one line.
#
# tsh_component(DIRECTORY INTERNAL|TOPIC NAME [INCLUDES DIRECTORY...]): tsh/NAME.h includes all headers of
# a component; INTERNAL ones export nothing and install no headers.
tsh_component(platform TOPIC platform)
tsh_component(base INTERNAL INCLUDES platform)
tsh_component(feature/tsh/src TOPIC common INCLUDES platform base)
tsh_component(bmask TOPIC masks INCLUDES platform base)
tsh_component(parse_tree TOPIC trees INCLUDES platform base feature/tsh/src bmask)
tsh_component(atnode TOPIC navigation INCLUDES platform base feature/tsh/src parse_tree)
tsh_component(param_reg TOPIC parameters INCLUDES platform base feature/tsh/src parse_tree)
tsh_component(treelink TOPIC linker INCLUDES platform base feature/tsh/src parse_tree param_reg)
tsh_component(cmd_gen TOPIC listing INCLUDES platform base feature/tsh/src bmask parse_tree atnode param_reg)
tsh_component(resolve TOPIC resolver INCLUDES platform base feature/tsh/src bmask parse_tree atnode param_reg cmd_gen)
