// The names that C reserves for itself and for its library.
#include "tools/ocmd_show/c_names.h"

#include <algorithm>

namespace show {

namespace {

// Those that begin with an underscore are all reserved.
constexpr std::string_view kReserved =
    // Keywords up to C23, and names that compilers predefine.
    " alignas alignof asm auto bool break case char const constexpr continue default do double else"
    " enum extern false float for goto if inline int long nullptr register restrict return short"
    " signed sizeof static static_assert struct switch thread_local true typedef typeof"
    " typeof_unqual union unsigned void volatile while i386 linux main unix"
    // assert.h, ctype.h, errno.h, fenv.h, inttypes.h, locale.h, setjmp.h, signal.h, stdarg.h
    " assert isalnum isalpha isblank iscntrl isdigit isgraph islower isprint ispunct isspace"
    " isupper isxdigit tolower toupper errno feclearexcept fegetenv fegetexceptflag fegetround"
    " feholdexcept feraiseexcept fesetenv fesetexceptflag fesetround fetestexcept feupdateenv"
    " imaxabs imaxdiv strtoimax strtoumax wcstoimax wcstoumax localeconv setlocale longjmp setjmp"
    " raise signal va_arg va_copy va_end va_start"
    // stdio.h
    " clearerr fclose feof ferror fflush fgetc fgetpos fgets fopen fprintf fputc fputs fread"
    " freopen fscanf fseek fsetpos ftell fwrite getc getchar gets perror printf putc putchar puts"
    " remove rename rewind scanf setbuf setvbuf snprintf sprintf sscanf stderr stdin stdout tmpfile"
    " tmpnam ungetc vfprintf vfscanf vprintf vscanf vsnprintf vsprintf vsscanf"
    // stdlib.h
    " abort abs aligned_alloc at_quick_exit atexit atof atoi atol atoll bsearch calloc div exit "
    "free"
    " getenv labs ldiv llabs lldiv malloc mblen mbstowcs mbtowc qsort quick_exit rand realloc srand"
    " strtod strtof strtol strtold strtoll strtoul strtoull system wcstombs wctomb"
    // string.h, threads.h, time.h, uchar.h
    " memchr memcmp memcpy memmove memset strcat strchr strcmp strcoll strcpy strcspn strerror"
    " strlen strncat strncmp strncpy strpbrk strrchr strspn strstr strtok strxfrm call_once asctime"
    " clock ctime difftime gmtime localtime mktime strftime time timespec_get c16rtomb c32rtomb"
    " mbrtoc16 mbrtoc32"
    // wchar.h, wctype.h
    " btowc fgetwc fgetws fputwc fputws fwide fwprintf fwscanf getwc getwchar iswalnum iswalpha"
    " iswblank iswcntrl iswctype iswdigit iswgraph iswlower iswprint iswpunct iswspace iswupper"
    " iswxdigit mbrlen mbrtowc mbsinit mbsrtowcs putwc putwchar swprintf swscanf towctrans towlower"
    " towupper ungetwc vfwprintf vfwscanf vswprintf vswscanf vwprintf vwscanf wcrtomb wcscat wcschr"
    " wcscmp wcscoll wcscpy wcscspn wcsftime wcslen wcsncat wcsncmp wcsncpy wcspbrk wcsrchr"
    " wcsrtombs wcsspn wcsstr wcstod wcstof wcstok wcstol wcstold wcstoll wcstoul wcstoull wcsxfrm"
    " wctob wctrans wctype wmemchr wmemcmp wmemcpy wmemmove wmemset wprintf wscanf ";

// complex.h and math.h, each also with the suffixes f and l.
constexpr std::string_view kReservedForNumbers =
    " cabs cacos cacosh carg casin casinh catan catanh ccos ccosh cexp cimag clog conj cpow cproj"
    " creal csin csinh csqrt ctan ctanh acos acosh asin asinh atan atan2 atanh cbrt ceil copysign"
    " cos cosh erf erfc exp exp2 expm1 fabs fdim floor fma fmax fmin fmod frexp hypot ilogb ldexp"
    " lgamma llrint llround log log10 log1p log2 logb lrint lround modf nan nearbyint nextafter"
    " nexttoward pow remainder remquo rint round scalbln scalbn sin sinh sqrt tan tanh tgamma"
    " trunc ";

bool has_word(std::string_view words, std::string_view word) {
    return words.find(std::string{" "}.append(word).append(" ")) != std::string_view::npos;
}

bool is_reserved(std::string_view name) {
    if (name.starts_with('_') || has_word(kReserved, name) || has_word(kReservedForNumbers, name))
        return true;
    return (name.ends_with('f') || name.ends_with('l')) &&
           has_word(kReservedForNumbers, name.substr(0, name.size() - 1));
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

} // namespace

bool is_identifier_byte(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || is_digit(c) || c == '_';
}

bool is_free_identifier(std::string_view name) {
    return !name.empty() && std::ranges::all_of(name, is_identifier_byte) && !is_digit(name[0]) &&
           !is_reserved(name);
}

void CNames::reserve(std::string_view name) {
    if (is_free_identifier(name))
        used_.emplace(name, 1);
}

std::string CNames::name_for(std::string_view name) {
    if (is_free_identifier(name))
        return std::string{name};
    std::string changed{"cmd_"};
    for (const char c : name)
        changed += is_identifier_byte(c) ? c : '_';
    std::string free = changed;
    while (!used_.try_emplace(free, 1).second)
        free = changed + "_" + std::to_string(++used_[changed]);
    return free;
}

} // namespace show
