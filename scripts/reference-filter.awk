# Headers as Doxygen wants them: the file itself is documented, and declarations that follow one
# another without an empty line share the docstring above them. Lines keep their numbers.
NR == 1 { printf "/** @file */ " }
/^(TSH_API|#define [A-Z])/ {
    name = $0
    sub(/^#define /, "", name)
    sub(/[[(; ].*/, "", name)
    if (/^TSH_API/) {
        name = $0
        sub(/[[(;].*/, "", name)
        sub(/.*[ *]/, "", name)
    }
    if (shares)
        printf "/** @copydoc %s */ ", above
    above = name
}
{
    print
    shares = /^TSH_API.*;$|^ .*\);$/ || (/^#define/ && !/\/\*\*</)
}
