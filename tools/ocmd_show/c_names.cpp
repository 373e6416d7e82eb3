// The names of C, of its library, of POSIX, and of functions that compilers know.
#include "tools/ocmd_show/c_names.h"

#include <algorithm>
#include <array>

namespace show {

namespace {

constexpr std::string_view kReserved =
    // Keywords up to C23 and of iso646.h; names that compilers predefine.
    " alignas alignof and and_eq asm auto bitand bitor bool break case char compl complex const"
    " constexpr continue default do double else enum extern false float for goto i386 if imaginary"
    " inline int linux long main noreturn not not_eq nullptr or or_eq register restrict return"
    " short signed sizeof static static_assert struct switch thread_local true typedef typeof"
    " typeof_unqual union unix unsigned void volatile while xor xor_eq"
    // The C library.
    " L_tmpnam abort abs aligned_alloc asctime assert at_quick_exit atexit atof atoi atol atoll"
    " bsearch btowc c16rtomb c32rtomb call_once calloc clearerr clock ctime difftime div errno exit"
    " fclose feclearexcept fegetenv fegetexceptflag fegetround feholdexcept feof feraiseexcept"
    " ferror fesetenv fesetexceptflag fesetround fetestexcept feupdateenv fflush fgetc fgetpos"
    " fgets fgetwc fgetws fopen fpclassify fprintf fputc fputs fputwc fputws fread free freopen"
    " fscanf fseek fsetpos ftell fwide fwprintf fwrite fwscanf getc getchar getenv gets getwc"
    " getwchar gmtime imaxabs imaxdiv jmp_buf kill_dependency labs ldiv llabs lldiv localeconv"
    " localtime longjmp malloc math_errhandling mblen mbrlen mbrtoc16 mbrtoc32 mbrtowc mbsinit"
    " mbsrtowcs mbstowcs mbtowc mktime offsetof once_flag perror printf putc putchar puts putwc"
    " putwchar qsort quick_exit raise rand realloc remove rename rewind scanf setbuf setjmp"
    " setlocale setvbuf signal snprintf sprintf srand sscanf stderr stdin stdout swprintf swscanf"
    " system time timespec_get tmpfile tmpnam ungetc ungetwc va_arg va_copy va_end va_list va_start"
    " vfprintf vfscanf vfwprintf vfwscanf vprintf vscanf vsnprintf vsprintf vsscanf vswprintf"
    " vswscanf vwprintf vwscanf wcrtomb wctob wctomb wctrans wctype wmemchr wmemcmp wmemcpy"
    " wmemmove wmemset wprintf wscanf"
    // Built-in functions of GCC.
    " alloca bcmp bcopy bzero dcgettext dgettext execl execle execlp execv execve execvp ffs"
    " ffsimax ffsl ffsll fork fprintf_unlocked fputc_unlocked fputs_unlocked fwrite_unlocked"
    " gamma_r gammaf_r gammal_r gettext index lgamma_r lgammaf_r lgammal_r printf_unlocked"
    " putc_unlocked putchar_unlocked puts_unlocked rindex stpcpy stpncpy"
    // POSIX.
    " a64l accept access alarm alphasort asctime_r bind catclose catgets catopen cfgetispeed"
    " cfgetospeed cfsetispeed cfsetospeed chdir chmod chown clock_getcpuclockid clock_getres"
    " clock_gettime clock_nanosleep clock_settime close closedir closelog confstr connect creat"
    " ctermid ctime_r daylight dirfd dirname dlclose dlerror dlopen dlsym dprintf drand48 dup dup2"
    " duplocale endgrent endhostent endnetent endorder endprotoent endpwent endservent endutxent"
    " erand48 faccessat fchdir fchmod fchmodat fchown fchownat fcntl fd_set fdatasync fdopen"
    " fdopendir fexecve fileno flockfile fmemopen fmtmsg fnmatch fpathconf freeaddrinfo freelocale"
    " fseeko fstat fstatat fstatvfs fsync ftello ftok ftruncate ftrylockfile ftw funlockfile"
    " futimens gai_strerror getaddrinfo getc_unlocked getchar_unlocked getcwd getdate getdate_err"
    " getdelim getegid geteuid getgid getgrent getgrgid getgrgid_r getgrnam getgrnam_r getgroups"
    " gethostbyaddr gethostbyname gethostent gethostid gethostname getitimer getline getlogin"
    " getlogin_r getnameinfo getnetbyaddr getnetbyname getnetent getopt getpeername getpgid getpgrp"
    " getpid getppid getpriority getprotobyname getprotobynumber getprotoent getpwent getpwnam"
    " getpwnam_r getpwuid getpwuid_r getrlimit getrusage getservbyname getservbyport getservent"
    " getsid getsockname getsockopt getsubopt gettimeofday getuid getutxent getutxid getutxline"
    " glob globfree gmtime_r grantpt hcreate hdestroy hsearch htonl htons iconv iconv_close"
    " iconv_open if_freenameindex if_indextoname if_nameindex if_nametoindex in6addr_any"
    " in6addr_loopback inet_addr inet_ntoa inet_ntop inet_pton initstate insque jrand48 kill killpg"
    " l64a lchown lcong48 leaf lfind link linkat lio_listio listen localtime_r lockf lrand48"
    " lsearch lseek lstat mbsnrtowcs mkdir mkdirat mkdtemp mkfifo mkfifoat mknod mknodat mkstemp"
    " mlock mlockall mmap mprotect mrand48 msgctl msgget msgrcv msgsnd msync munlock munlockall"
    " munmap nanosleep newlocale nftw nice nl_catd nl_item nl_langinfo nl_langinfo_l nrand48 ntohl"
    " ntohs open open_memstream open_wmemstream openat opendir openlog optarg opterr optind optopt"
    " pathconf pause pclose pipe poll popen postorder pread preorder pselect psiginfo psignal"
    " ptsname putenv pututxline pwrite rand_r random read readdir readdir_r readlink readlinkat"
    " readv realpath recv recvfrom recvmsg regcomp regerror regexec regfree remque renameat"
    " rewinddir rmdir scandir seed48 seekdir select semctl semget semop send sendmsg sendto setegid"
    " setenv seteuid setgid setgrent sethostent setitimer setlogmask setnetent setpgid setpgrp"
    " setpriority setprotoent setpwent setregid setreuid setrlimit setservent setsid setsockopt"
    " setstate setuid setutxent shm_open shm_unlink shmat shmctl shmdt shmget shutdown sigaction"
    " sigaddset sigaltstack sigdelset sigemptyset sigfillset sighold sigignore siginterrupt"
    " sigismember sigjmp_buf siglongjmp signgam sigpause sigpending sigprocmask sigqueue sigrelse"
    " sigset sigsuspend sigtimedwait sigwait sigwaitinfo sleep sockatmark socket socketpair srand48"
    " srandom stat statvfs swab symlink symlinkat sync sysconf syslog tcdrain tcflow tcflush"
    " tcgetattr tcgetpgrp tcgetsid tcsendbreak tcsetattr tcsetpgrp tdelete telldir tempnam tfind"
    " timer_create timer_delete timer_getoverrun timer_gettime timer_settime times timezone"
    " truncate tsearch ttyname ttyname_r twalk tzname tzset ulimit umask uname unlink unlinkat"
    " unlockpt unsetenv uselocale utime utimensat utimes vdprintf wait waitid waitpid wcpcpy"
    " wcpncpy wctrans_l wctype_l wcwidth wordexp wordfree write writev ";

// complex.h and math.h, each also with the suffixes of types.
constexpr std::string_view kReservedForNumbers =
    " acos acosh asin asinh atan atan2 atanh cabs cacos cacosh carg casin casinh catan catanh cbrt"
    " ccos ccosh ceil cexp cimag clog clog10 conj copysign cos cosh cpow cproj creal csin csinh"
    " csqrt ctan ctanh drem erf erfc exp exp10 exp2 expm1 fabs fdim finite floor fma fmax fmin fmod"
    " frexp gamma hypot ilogb j0 j1 jn ldexp lgamma llrint llround log log10 log1p log2 logb lrint"
    " lround modf nan nearbyint nextafter nexttoward pow pow10 remainder remquo rint round"
    " roundeven scalb scalbln scalbn signbit significand sin sincos sinh sqrt tan tanh tgamma trunc"
    " y0 y1 yn ";

constexpr std::array kNumberSuffixes{"f",   "l",    "d32", "d64",  "d128", "f16",
                                     "f32", "f32x", "f64", "f64x", "f128"};

// Beginnings of names that C or POSIX reserve; the first ones if a lower-case letter follows.
constexpr std::array kReservedBeforeLetters{"is", "mem", "str", "to", "wcs"};
constexpr std::array kReservedBeginnings{"_",     "aio_",   "atomic_",  "cnd_",   "memory_order_",
                                         "mtx_",  "posix_", "pthread_", "sched_", "sem_",
                                         "thrd_", "tss_",   "PRI",      "SCN"};

bool has_word(std::string_view words, std::string_view word) {
    return words.find(std::string{" "}.append(word).append(" ")) != std::string_view::npos;
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_lower(char c) {
    return c >= 'a' && c <= 'z';
}

bool is_math_name(std::string_view name) {
    return has_word(kReservedForNumbers, name) ||
           std::ranges::any_of(kNumberSuffixes, [&](std::string_view suffix) {
               return name.ends_with(suffix) &&
                      has_word(kReservedForNumbers, name.substr(0, name.size() - suffix.size()));
           });
}

// Macros are in capitals, and types of POSIX end in "_t".
bool is_reserved(std::string_view name) {
    const auto begins_before_letter = [&](std::string_view beginning) {
        return name.starts_with(beginning) && name.size() > beginning.size() &&
               is_lower(name[beginning.size()]);
    };
    const auto begins = [&](std::string_view beginning) { return name.starts_with(beginning); };
    return std::ranges::none_of(name, is_lower) || name.ends_with("_t") ||
           std::ranges::any_of(kReservedBeginnings, begins) ||
           std::ranges::any_of(kReservedBeforeLetters, begins_before_letter) ||
           has_word(kReserved, name) || is_math_name(name);
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
