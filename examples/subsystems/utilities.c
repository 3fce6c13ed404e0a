#include <zorcomn/utilities.h>

#include <stdio.h>
#include <string.h>

int main(void) {
    const wchar_t *name = L"Gr\u00fc\u00dfe";
    char text[64];
    const int32_t capacity = (int32_t)sizeof text; /* six bytes for each character, and one */
    char stamp[15];                                /* 14 digits and the terminator */
    if (qelcomn_unicode_to_utf8(name, text, &capacity) == ZORCOMN_FAILURE)
        return 1;
    qelcomn_CreateLocalTimeStampA(stamp, sizeof stamp);
    printf("%s at %s\n", text, stamp);
    return strcmp(text, "Gr\xc3\xbc\xc3\x9f"
                        "e") == 0 &&
                   strlen(stamp) == 14
               ? 0
               : 1;
}
