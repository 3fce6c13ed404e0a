// Characters, locales, standard streams and iconv. The C++ library's streams ask for texts by locale, which comes last
// or before the format.
#define _GNU_SOURCE
#include "shim.h"

#include <ctype.h>
#include <getopt.h>
#include <iconv.h>
#include <locale.h>
#include <math.h>
#include <regex.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <strings.h>
#include <time.h>
#include <unistd.h>
#include <wchar.h>

static int dw_strerror_r(int error, char *text, size_t size) {
    const char *own = strerror(hostError(error));
    if (size > 0)
        snprintf(text, size, "%s", own);
    return strlen(own) < size ? 0 : DWC_ERANGE;
}
static char *dw_strerror(int error) {
    return strerror(hostError(error));
}

// ---- the table of the characters' kinds, which the inline functions of <ctype.h> read
static char runes[DWZ_rune];
__attribute__((constructor)) static void fillRunes(void) {
    for (int c = 0; c < 128; ++c) {
#define KIND(test, kind) (test(c) ? DWC__CTYPE_##kind : 0)
        const uint32_t kind = KIND(isalpha, A) | KIND(iscntrl, C) | KIND(isdigit, D) | KIND(isgraph, G) |
                              KIND(islower, L) | KIND(ispunct, P) | KIND(isspace, S) | KIND(isupper, U) |
                              KIND(isxdigit, X) | KIND(isblank, B) | KIND(isprint, R);
#undef KIND
        const int32_t lower = tolower(c), upper = toupper(c);
        memcpy(runes + DW_rune_runetype + sizeof kind * (size_t)c, &kind, sizeof kind);
        memcpy(runes + DW_rune_maplower + sizeof lower * (size_t)c, &lower, sizeof lower);
        memcpy(runes + DW_rune_mapupper + sizeof upper * (size_t)c, &upper, sizeof upper);
    }
}
static int dw___maskrune(int c, unsigned long kinds) {
    uint32_t kind = 0;
    if (c >= 0 && c < 128)
        memcpy(&kind, runes + DW_rune_runetype + sizeof kind * (size_t)c, sizeof kind);
    return (int)(kind & kinds);
}
static int dw___tolower(int c) {
    return c >= 0 && c < 128 ? tolower(c) : c;
}
static int dw___toupper(int c) {
    return c >= 0 && c < 128 ? toupper(c) : c;
}

// ---- locales
static const struct pair categories[] = {PAIR(LC_ALL),     PAIR(LC_COLLATE), PAIR(LC_CTYPE),   PAIR(LC_MONETARY),
                                         PAIR(LC_NUMERIC), PAIR(LC_TIME),    PAIR(LC_MESSAGES)};
static char *dw_setlocale(int category, const char *name) {
    return setlocale(HOST_OF(categories, category, -1), name);
}
static locale_t dw_newlocale(int mask, const char *name, locale_t base) {
    (void)mask;
    return newlocale(LC_ALL_MASK, name, base);
}
#define WITH(locale, call)                                                                                             \
    ({                                                                                                                 \
        locale_t was_ = uselocale((locale_t)(locale));                                                                 \
        __auto_type got_ = (call);                                                                                     \
        uselocale(was_);                                                                                               \
        got_;                                                                                                          \
    })
#define VARIADIC(name, arguments, call)                                                                                \
    static int dw_##name arguments {                                                                                   \
        va_list more;                                                                                                  \
        va_start(more, format);                                                                                        \
        const int got = WITH(locale, call);                                                                            \
        va_end(more);                                                                                                  \
        return got;                                                                                                    \
    }
VARIADIC(snprintf_l, (char *to, size_t size, locale_t locale, const char *format, ...),
         vsnprintf(to, size, format, more))
VARIADIC(asprintf_l, (char **to, locale_t locale, const char *format, ...), vasprintf(to, format, more))
VARIADIC(sscanf_l, (const char *from, locale_t locale, const char *format, ...), vsscanf(from, format, more))
#define LOCAL(result, name, parameters, ...)                                                                           \
    static result dw_##name##_l parameters {                                                                           \
        return WITH(l, name(__VA_ARGS__));                                                                             \
    }
LOCAL(wint_t, btowc, (int c, locale_t l), c)
LOCAL(int, wctob, (wint_t c, locale_t l), c)
LOCAL(size_t, mbrtowc, (wchar_t * to, const char *from, size_t size, mbstate_t *state, locale_t l), to, from, size,
      state)
LOCAL(size_t, wcrtomb, (char *to, wchar_t from, mbstate_t *state, locale_t l), to, from, state)
LOCAL(int, mbtowc, (wchar_t * to, const char *from, size_t size, locale_t l), to, from, size)
LOCAL(size_t, mbrlen, (const char *from, size_t size, mbstate_t *state, locale_t l), from, size, state)
LOCAL(size_t, mbsrtowcs, (wchar_t * to, const char **from, size_t size, mbstate_t *state, locale_t l), to, from, size,
      state)
LOCAL(size_t, mbsnrtowcs, (wchar_t * to, const char **from, size_t n, size_t size, mbstate_t *state, locale_t l), to,
      from, n, size, state)
LOCAL(size_t, wcsnrtombs, (char *to, const wchar_t **from, size_t n, size_t size, mbstate_t *state, locale_t l), to,
      from, n, size, state)
static int dw____mb_cur_max_l(locale_t l) {
    return (int)WITH(l, MB_CUR_MAX);
}
static int dw____mb_cur_max(void) {
    return (int)MB_CUR_MAX;
}
static struct lconv *dw_localeconv_l(locale_t l) {
    return WITH(l, localeconv());
} // the records agree
static int dw____tolower_l(int c, locale_t l) {
    (void)l;
    return dw___tolower(c);
}
static int dw____toupper_l(int c, locale_t l) {
    (void)l;
    return dw___toupper(c);
}
static int dw___maskrune_l(int c, unsigned long kinds, locale_t l) {
    (void)l;
    return dw___maskrune(c, kinds);
}

// ---- the rest of the C library that is not the same
static void dw___assert_rtn(const char *function, const char *file, int line, const char *expression) {
    fprintf(stderr, "Assertion failed: (%s), function %s, file %s, line %d.\n", expression, function, file, line);
    abort();
}
static void dw___bzero(void *at, size_t size) {
    memset(at, 0, size);
}
static void *dw_memset_pattern16(char *to, const char *pattern, size_t size) {
    for (size_t i = 0; i < size; ++i)
        to[i] = pattern[i % 16];
    return to;
}
static size_t dw_strlcpy(char *to, const char *from, size_t size) {
    if (size > 0)
        snprintf(to, size, "%s", from);
    return strlen(from);
}
static unsigned long stackGuard = 0x595e9fbd94fda766;
extern void __stack_chk_fail(void);

static int dw___snprintf_chk(char *to, size_t size, int flag, size_t room, const char *format, ...) {
    va_list more;
    va_start(more, format);
    const int got = size <= room ? vsnprintf(to, size, format, more) : (abort(), flag);
    va_end(more);
    return got;
}

// ---- regular expressions, whose record there is smaller than the C library's: it holds a pointer to that
static regex_t *expressionOf(const char *darwin) {
    return (regex_t *)GET(darwin, regex, re_g);
}
static int dw_regcomp(char *expression, const char *pattern, int flags) {
    regex_t *own = calloc(1, sizeof *own);
#define FLAG(f) (flags & DWC_##f ? f : 0)
    const int result =
        regcomp(own, pattern, FLAG(REG_EXTENDED) | FLAG(REG_ICASE) | FLAG(REG_NOSUB) | FLAG(REG_NEWLINE));
#undef FLAG
    PUT(expression, regex, re_g, (uintptr_t)own);
    PUT(expression, regex, re_nsub, own->re_nsub);
    return result;
}
static int dw_regexec(const char *expression, const char *text, size_t count, char *matches, int flags) {
    regmatch_t own[16];
    count = count < 16 ? count : 16;
    const int result = regexec(expressionOf(expression), text, count, own, flags); // REG_NOTBOL, REG_NOTEOL agree
    for (size_t i = 0; result == 0 && i < count; ++i) {
        PUT(matches + i * DWZ_regmatch_t, regmatch, rm_so, own[i].rm_so);
        PUT(matches + i * DWZ_regmatch_t, regmatch, rm_eo, own[i].rm_eo);
    }
    return result == REG_NOMATCH ? DWC_REG_NOMATCH : result;
}
static void dw_regfree(char *expression) {
    regfree(expressionOf(expression));
    free(expressionOf(expression));
}

static iconv_t dw_iconv_open(const char *to, const char *from) {
    static const char wide[] = "UCS-4-INTERNAL"; // what Darwin's calls the wide encoding
    return iconv_open(strcmp(to, wide) ? to : "WCHAR_T", strcmp(from, wide) ? from : "WCHAR_T");
}

const struct name iconvNames[] = {N(iconv_open), SAME(iconv), SAME(iconv_close), {NULL, NULL}};
// clang-format off
const struct name textNames[] = {
    N(strerror_r), N(strerror), N(__maskrune), N(__tolower), N(__toupper), N(setlocale), N(newlocale), N(snprintf_l),
    N(asprintf_l), N(sscanf_l), N(btowc_l), N(wctob_l), N(mbrtowc_l), N(wcrtomb_l), N(mbtowc_l), N(mbrlen_l),
    N(mbsrtowcs_l), N(mbsnrtowcs_l), N(wcsnrtombs_l), N(___mb_cur_max_l), N(___mb_cur_max), N(localeconv_l),
    N(___tolower_l), N(___toupper_l), N(__maskrune_l), N(__assert_rtn), N(__bzero), N(memset_pattern16), N(strlcpy),
    N(__snprintf_chk), N(regcomp), N(regexec), N(regfree), SAME(ceilf), SAME(llround), SAME(nextafter),
    NAMED("___stack_chk_guard", &stackGuard), SAME(__stack_chk_fail), NAMED("___stdinp", &stdin),
    NAMED("___stdoutp", &stdout), NAMED("___stderrp", &stderr), NAMED("__DefaultRuneLocale", runes), SAME(localeconv),
    SAME(freelocale), SAME(uselocale), SAME(strcoll_l), SAME(strxfrm_l), SAME(strftime_l), SAME(strtod_l),
    SAME(strtof_l), SAME(strtold_l), SAME(strtoll_l), SAME(strtoull_l), SAME(wcscoll_l), SAME(wcsxfrm_l),
    SAME(memchr), SAME(memcmp), SAME(memcpy), SAME(memmove), SAME(memset), SAME(bcmp), SAME(strcasecmp),
    SAME(strcasestr), SAME(strncasecmp), SAME(strcat), SAME(strchr), SAME(strcmp), SAME(strcpy), SAME(strcspn),
    SAME(strdup), SAME(strlen), SAME(strncat), SAME(strncmp), SAME(strncpy), SAME(strnlen), SAME(strndup),
    SAME(strpbrk), SAME(strrchr), SAME(strspn), SAME(strstr), SAME(strtod), SAME(strtof), SAME(strtok_r),
    SAME(strtol), SAME(strtold), SAME(strtoll), SAME(strtoul), SAME(strtoull), SAME(atoi), SAME(wcslen),
    SAME(wcsnlen), SAME(wcscmp), SAME(wcsncpy), SAME(wcsstr), SAME(wcscpy), SAME(wcstod), SAME(wcstof), SAME(wcstol),
    SAME(wcstold), SAME(wcstoll), SAME(wcstoul), SAME(wcstoull), SAME(wcsrtombs), SAME(mbsrtowcs), SAME(mbstowcs),
    SAME(wcstombs), SAME(wmemchr), SAME(wmemcmp), SAME(wmemcpy), SAME(wmemmove), SAME(wmemset), SAME(wcwidth),
    SAME(fclose), SAME(fdopen), SAME(feof), SAME(ferror), SAME(clearerr), SAME(fflush), SAME(fgets), SAME(fgetc),
    SAME(fileno), SAME(fprintf), SAME(fputc), SAME(fputs), SAME(fputwc), SAME(fread), SAME(freopen), SAME(fscanf),
    SAME(fseek), SAME(fseeko), SAME(ftell), SAME(ftello), SAME(fwrite), SAME(getc), SAME(getwc), SAME(perror),
    SAME(popen), SAME(printf), SAME(putc), SAME(putchar), SAME(puts), SAME(rewind), SAME(setbuf), SAME(setvbuf),
    SAME(snprintf), SAME(sprintf), SAME(sscanf), SAME(swprintf), SAME(tmpfile), SAME(ungetc), SAME(ungetwc),
    SAME(vfprintf), SAME(vprintf), SAME(vsnprintf), SAME(vswprintf), SAME(getline), SAME(gmtime_r), SAME(localtime_r),
    SAME(gmtime), SAME(localtime), SAME(mktime), SAME(timegm), SAME(strftime), SAME(tzset), NAMED("_tzname", tzname),
    SAME(getopt_long), NAMED("_optarg", &optarg), NAMED("_optind", &optind), NAMED("_opterr", &opterr),
    NAMED("_optopt", &optopt), {NULL, NULL},
};
// clang-format on
