/* The platform contract: every function that libboardfeatures imports.
 *
 * A BMC vendor implements these with its own drivers in libboardplatform.so.1; the simulated
 * platform implements the same contract over a board read from a file. A program may also bring
 * its own definitions: they are ordinary dynamic symbols, so the program's win.
 *
 * Results are int: 0 is success and a negative value failure, unless said otherwise.
 * Usable from C99 and C++20.
 */
#ifndef BOARDPLATFORM_PLATFORM_H
#define BOARDPLATFORM_PLATFORM_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#if defined(__GNUC__)
#define BP_PRINTF(text, first) __attribute__((__format__(__printf__, text, first)))
#define BP_SCANF(text, first) __attribute__((__format__(__scanf__, text, first)))
#else
#define BP_PRINTF(text, first)
#define BP_SCANF(text, first)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The route to one I2C chip: bus, up to two levels of switches, address. 32 bytes. */
typedef struct I2cChipRoute {
    uint32_t bus;            /* 0xFF where the bus is not fixed */
    uint16_t address;        /* 7-bit form */
    uint16_t flags;          /* second 16-bit field, handed on as it stands */
    uint32_t switch_address; /* bits 0-15 first level, 16-31 second level, 0 = none */
    uint32_t switch_channel; /* same split */
    char name[16];           /* NUL-padded, for logs */
} I2cChipRoute;

/* ---- logic device (EPLD): 16-bit registers ---- */

int epldio_read(uint32_t reg, uint16_t *value);
int epldio_write(uint32_t reg, uint16_t value);

/* ---- I2C ----
 * i2cRead and i2cWrite return 0 or a positive value on success, the EEPROM calls the byte count,
 * ei2c_smbus_read_byte_data any value that is not negative.
 * offset_width is the width in bytes of the register offset (always 1 here). */

int i2cRead(const I2cChipRoute *route, uint32_t length, uint8_t *buffer, uint32_t offset_width,
            uint32_t offset);
int i2cWrite(const I2cChipRoute *route, uint32_t length, const uint8_t *buffer,
             uint32_t offset_width, uint32_t offset);
int ei2c_eeprom_read(const I2cChipRoute *route, uint32_t offset, uint8_t *buffer, uint32_t length);
int ei2c_eeprom_write(const I2cChipRoute *route, uint32_t offset, const uint8_t *buffer,
                      uint32_t length);
int ei2c_smbus_read_byte_data(const I2cChipRoute *route, uint8_t command, uint8_t *value);

/* ---- PCA9535-class 16-bit expanders: port 0 is the low byte, port 1 the high byte ---- */

/* One input pin, 0 or 1. */
int ei2c_pca9535_get_value(const I2cChipRoute *route, uint32_t pin, uint32_t *value);
/* The input word AND the mask. */
int ei2c_pca9535_get_word_value(const I2cChipRoute *route, uint32_t mask, uint32_t *value);
/* Makes the masked pins outputs and drives them to the value's bits. */
int pca9535_gpio_word_direction_output(const I2cChipRoute *route, uint32_t mask, uint32_t value);
int pca9535_gpio_word_set_value(const I2cChipRoute *route, uint32_t mask, uint32_t value);
/* The output register, not the pins. */
int pca9535_gpio_word_get_output_value(const I2cChipRoute *route, uint32_t mask, uint32_t *value);
int pca9535_gpio_word_get_value(const I2cChipRoute *route, uint32_t mask, uint32_t *value);

/* ---- other hardware ---- */

int get_gpio_data(uint32_t line);                              /* the line's level */
int get_fan_speed(uint32_t unit, uint32_t fan, uint32_t *rpm); /* unit is always 0 */
int mmap_read32(uint32_t physical, uint32_t *value);
int mmap_write32(uint32_t physical, uint32_t value);
int select_sleep(uint32_t seconds, uint32_t microseconds);
int hdd_get_back_panel_id(uint32_t *id); /* imported weakly: a platform may lack it */

/* ---- diagnostics ----
 * file is the source name without its ending. Formats that begin "[%s:%d]" take the source name
 * and the line as their first two values. */

void _ssp_error(uint32_t module, const char *file, const char *function, int line,
                const char *format, ...) BP_PRINTF(5, 6);
void _ssp_warn(uint32_t module, const char *file, const char *function, int line,
               const char *format, ...) BP_PRINTF(5, 6);
void _ssp_info(uint32_t module, const char *file, const char *function, int line,
               const char *format, ...) BP_PRINTF(5, 6);
void _ssp_debug(uint32_t module, const char *file, const char *function, int line,
                const char *format, ...) BP_PRINTF(5, 6);
void sspFailedStat(const char *file, int line);
void IDBG_LINUXAPP_DbgOut(uint32_t level, const char *format, ...) BP_PRINTF(2, 3);
void IDBG_LINUXAPP_AuditOut(uint32_t level, const char *format, ...) BP_PRINTF(2, 3);
void IDBG_LINUXAPP_Runtime_DbgOut(uint32_t level, const char *format, ...) BP_PRINTF(2, 3);

/* ---- configuration files ---- */

typedef void *IniHandle; /* null = could not be loaded */

/* Null when the file is missing or unreadable. */
IniHandle IniLoadFile(const char *path);
/* A missing file gives an empty handle, null only when the file could never be created there. */
IniHandle VEL_IniLoadFile(const char *path);
/* Rewrites the whole file. */
int IniSaveFile(IniHandle handle, const char *path);
void IniCloseFile(IniHandle handle);
/* The text as stored, blanks included; cut to size-1. */
int IniGetStr(IniHandle handle, const char *section, const char *key, const char *fallback,
              char *out, uint32_t size);
int IniSetStr(IniHandle handle, const char *section, const char *key, const char *value);
uint32_t IniGetUInt(IniHandle handle, const char *section, const char *key, uint32_t fallback);
int IniSetUInt(IniHandle handle, const char *section, const char *key, uint32_t value);
int32_t IniGetSInt(IniHandle handle, const char *section, const char *key, int32_t fallback);
int IniSetSInt(IniHandle handle, const char *section, const char *key, int32_t value);
uint8_t IniGetChar(IniHandle handle, const char *section, const char *key, uint8_t fallback);
/* A small number, in decimal. */
int IniSetChar(IniHandle handle, const char *section, const char *key, uint8_t value);
int IniDelEntry(IniHandle handle, const char *section, const char *key);
int IniDelSection(IniHandle handle, const char *section);

/* ---- bounded memory and strings ----
 * The destination's size comes right after the destination. 0 on success; memory functions refuse
 * what does not fit, string functions cut and terminate. */

int memcpy_s(void *dest, size_t dest_size, const void *src, size_t count);
int memset_s(void *dest, size_t dest_size, int value, size_t count);
int strncpy_s(char *dest, size_t dest_size, const char *src, size_t count);
int snprintf_s(char *dest, size_t dest_size, const char *format, ...) BP_PRINTF(3, 4);
size_t strnlen_s(const char *text, size_t max);
int vel_memcpy_s(void *dest, size_t dest_size, const void *src, size_t count);
int vel_memset_s(void *dest, size_t dest_size, int value, size_t count);
int vel_strncpy_s(char *dest, size_t dest_size, const char *src, size_t count);
int vel_strncat_s(char *dest, size_t dest_size, const char *src, size_t count);
int vel_snprintf_s(char *dest, size_t dest_size, const char *format, ...) BP_PRINTF(3, 4);
int vel_sscanf_s(const char *text, const char *format, ...) BP_SCANF(2, 3);
size_t vel_strnlen_s(const char *text, size_t max);
int vel_atoi_s(const char *text);
int vel_fopen_s(FILE **stream, const char *path, const char *mode, uint32_t option, uint32_t flag);
char *vel_fgets_s(char *dest, size_t dest_size, FILE *stream);
int vel_fclose_s(FILE *stream);

#ifdef __cplusplus
}
#endif

#endif
