// No board is fitted: every hardware access fails.
#include "boardplatform/platform.h"

extern "C" {
int epldio_read(uint32_t, uint16_t *) { return -1; }
int epldio_write(uint32_t, uint16_t) { return -1; }
int i2cRead(const I2cChipRoute *, uint32_t, uint8_t *, uint32_t, uint32_t) { return -1; }
int i2cWrite(const I2cChipRoute *, uint32_t, const uint8_t *, uint32_t, uint32_t) { return -1; }
int ei2c_eeprom_read(const I2cChipRoute *, uint32_t, uint8_t *, uint32_t) { return -1; }
int ei2c_eeprom_write(const I2cChipRoute *, uint32_t, const uint8_t *, uint32_t) { return -1; }
int ei2c_smbus_read_byte_data(const I2cChipRoute *, uint8_t, uint8_t *) { return -1; }
int ei2c_pca9535_get_value(const I2cChipRoute *, uint32_t, uint32_t *) { return -1; }
int ei2c_pca9535_get_word_value(const I2cChipRoute *, uint32_t, uint32_t *) { return -1; }
int pca9535_gpio_word_direction_output(const I2cChipRoute *, uint32_t, uint32_t) { return -1; }
int pca9535_gpio_word_set_value(const I2cChipRoute *, uint32_t, uint32_t) { return -1; }
int pca9535_gpio_word_get_output_value(const I2cChipRoute *, uint32_t, uint32_t *) { return -1; }
int pca9535_gpio_word_get_value(const I2cChipRoute *, uint32_t, uint32_t *) { return -1; }
int get_gpio_data(uint32_t) { return -1; }
int get_fan_speed(uint32_t, uint32_t, uint32_t *) { return -1; }
int mmap_read32(uint32_t, uint32_t *) { return -1; }
int mmap_write32(uint32_t, uint32_t) { return -1; }
int select_sleep(uint32_t, uint32_t) { return 0; }
int hdd_get_back_panel_id(uint32_t *) { return -1; }
}
