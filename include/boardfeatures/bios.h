/* BIOS setup options by numeric code: group, item and value. No hardware access.
 *
 * Names handed out are items' names and stay valid for the life of the process. Completion bytes
 * are written on failure only.
 */
#ifndef BOARDFEATURES_BIOS_H
#define BOARDFEATURES_BIOS_H

#include "boardfeatures/abi.h"

BF_EXTERN_C_BEGIN

#define BIOS_COMPLETION_PLACEHOLDER 0x80 /* the item exists but has no values */
#define BIOS_COMPLETION_UNKNOWN 0xC7     /* no such item or value, or a number out of range */

enum { BIOS_FIND = 0, BIOS_VALUE_TO_TEXT = 1, BIOS_TEXT_TO_VALUE = 2 };
#define BIOS_ROWS 92         /* values of all items */
#define BIOS_WHOLE_GROUP 255 /* the item that asks BIOS_FIND for a group's items */

/* Asks one of the four questions below: BIOS_TEXT_TO_VALUE, BIOS_VALUE_TO_TEXT, BIOS_FIND with item
 * BIOS_WHOLE_GROUP the items of a group, and anything else for an item. request is group, item,
 * value. -1 for a null that the question needs. */
BF_API int32_t BIOSInfoHandle(uint32_t mode, const uint8_t request[3], const char **name, void *a,
                              void *b, uint8_t *completion);

/* The items of a group: fills names in table order and returns how many, 8 at most in a group of
 * this board. Group 0xAA, which marks an item's further values, lists those: give names room for
 * BIOS_ROWS when the group comes from outside. -1 with BIOS_COMPLETION_UNKNOWN when there are none.
 * a and b are not looked at. */
BF_API int32_t BIOSInfoHandleFlag0(const uint8_t request[3], const char **names, void *a, void *b,
                                   uint8_t *completion);
/* Whether an item exists: *name and 1; -1 with either completion byte. a and b are not looked at.
 */
BF_API int32_t BIOSInfoHandleFlagDefault(const uint8_t request[3], const char **name, void *a,
                                         void *b, uint8_t *completion);
/* The text of an item's value: *name, 32 bytes of text in b, and 0; -1 with either completion byte
 * and an empty text. A numeric item answers its value in decimal. */
BF_API int32_t BIOSInfoHandleFlag1(const uint8_t request[3], const char **name, void *a, void *b,
                                   uint8_t *completion);
/* The value of a text: a is the item's name, b the text, 32 bytes at most each. The value code; 255
 * for the text "nil"; 0 for a number of a numeric item, -1 for anything else there; -1 with
 * BIOS_COMPLETION_UNKNOWN for no such item or text. request and name are not looked at. */
BF_API int32_t BIOSInfoHandleFlag2(const uint8_t request[3], const char **name, void *a, void *b,
                                   uint8_t *completion);

/* 1 when both names and both values are equal, else 0; 0 for a null. */
BF_API int32_t compareConfigItems(const char *name_a, const char *name_b, const char *value_a,
                                  const char *value_b);

BF_EXTERN_C_END

#endif
