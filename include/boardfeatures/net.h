/* Network: interfaces by name, the DHCP client, and the validation of addresses and domain names.
 *
 * Interface names are used up to their first 15 characters. Address texts are dotted quads; an
 * output text has room for 16 bytes. Functions on interfaces return OAL_OK or a code; they refuse
 * nulls before any system call. Nothing is kept between calls.
 */
#ifndef BOARDFEATURES_NET_H
#define BOARDFEATURES_NET_H

#include "boardfeatures/abi.h"

BF_EXTERN_C_BEGIN

/* Codes of this family; 0 is success. */
#define OAL_NET_FAILED 0x80108001u    /* no socket, no route file, state not as asked, no client */
#define OAL_NET_NULL 0x80108004u      /* null argument */
#define OAL_NET_GET_FLAGS 0x80108101u /* the interface's flags could not be read */
#define OAL_NET_SET_FLAGS 0x80108102u /* … written */
#define OAL_NET_GET_MAC 0x80108103u   /* the MAC address could not be read */
#define OAL_NET_SET_MAC 0x80108104u   /* … written */
#define OAL_NET_GET_ADDRESS 0x80108105u /* the address or the MTU could not be read */
#define OAL_NET_SET_ADDRESS 0x80108106u /* an address not written, a route not changed */
#define OAL_NET_BAD_TEXT 0x80108107u    /* no address text, or an answer beyond 15 characters */
#define OAL_NET_GET_MASK 0x80108108u    /* the mask could not be read */
#define OAL_NET_SET_MASK 0x80108109u    /* … written */

#define OAL_ADDRESS_TEXT_SIZE 16
#define OAL_MAC_SIZE 6

/* ---- interfaces ---- */

BF_API uint32_t OAL_GetEthState(const char *name, uint8_t *up); /* 1 up, 0 down */
/* Bring the interface up or down and check that it is. */
BF_API uint32_t OAL_SetEthUp(const char *name);
BF_API uint32_t OAL_SetEthDown(const char *name);
BF_API uint32_t OAL_GetEthMacAddr(const char *name, uint8_t mac[OAL_MAC_SIZE]);
/* Takes the interface down, writes the address and brings it up; a failed write leaves it down. */
BF_API uint32_t OAL_SetEthMacAddr(const char *name, const uint8_t mac[OAL_MAC_SIZE]);
BF_API uint32_t OAL_GetEthtIP(const char *name, char text[OAL_ADDRESS_TEXT_SIZE]);
/* Writes the address (an empty text is 0.0.0.0) and brings the interface up. */
BF_API uint32_t OAL_SetEthIP(const char *name, const char *text);
BF_API uint32_t OAL_GetEthMask(const char *name, char text[OAL_ADDRESS_TEXT_SIZE]);
BF_API uint32_t OAL_SetEthMask(const char *name, const char *text);
BF_API uint32_t OAL_GetEthMTU(const char *name, uint32_t *mtu); /* bytes */
/* The interface's first default gateway; without one the text stays as it was and OAL_OK is
 * returned. Reads /proc/net/route. */
BF_API uint32_t OAL_GetEthGateWay(const char *name, char text[OAL_ADDRESS_TEXT_SIZE]);
/* Adds a default route; an empty text is the gateway 0.0.0.0. */
BF_API uint32_t OAL_SetEthGateWay(const char *name, const char *text);
/* Deletes the default route by that gateway, or by an empty text every default route of the
 * interface. Stops at the first failure, with a line on standard output. */
BF_API uint32_t OAL_DelEthGateWay(const char *name, const char *text);

/* ---- the DHCP client: busybox udhcpc, known by its process id ---- */

/* Starts it on an interface with a host name (the first 65 characters). The process id; -1 when it
 * cannot be started or has ended already; OAL_NET_NULL for a null. */
BF_API int32_t OAL_StartDhcp(const char *name, const char *host_name);
/* Ends it. -1 when the signal was sent; the given id, with a line on standard output, when not. */
BF_API int32_t OAL_StopDhcp(int32_t process_id);
/* Have it renew or release its lease. 0; -1 when the signal cannot be sent; OAL_NET_FAILED with a
 * line on standard output for an id of 0 or below. */
BF_API uint32_t OAL_RenewDhcp(int32_t process_id);
BF_API uint32_t OAL_ReleaseDhcp(int32_t process_id);

/* ---- addresses; packed addresses are in network byte order ---- */

/* 0 when the text is an address of that kind, else -1 (also for a null). */
BF_API int32_t OAL_IsIpv4Address(const char *text);
BF_API int32_t OAL_IsIpv6Address(const char *text);
/* 0 when a host may have the address: not multicast, reserved, loopback, unspecified; for IPv6 not
 * link-local, IPv4-mapped or IPv4-compatible either. Else -1 (also for a null). */
BF_API int32_t OAL_IsValidIPv4Addr(const uint8_t address[4]);
BF_API int32_t OAL_IsValidIPv6Addr(const uint8_t address[16]);

#define OAL_IP_IS_V4 1
#define OAL_IP_IS_V6 2
#define OAL_IP_NO_ADDRESS 0x80108501u
#define OAL_IP_V4_UNUSABLE 0x80108502u
#define OAL_IP_V6_UNUSABLE 0x80108503u
/* OAL_IP_IS_V4 or OAL_IP_IS_V6 for an address that a host may have, one of the codes otherwise, -1
 * for a null. Prints a line on standard output. */
BF_API uint32_t OAL_VerifyIpAddr(const char *text);
/* -1 when both texts are IPv6 addresses and the same address, else 0 (also for a null). */
BF_API int32_t OAL_CheckDnsIpv6Server(const char *first, const char *second);

/* ---- domain names: 0 valid, -1 with a debug line that names the first rule broken ---- */

/* Two to six labels of up to 63 letters, digits and hyphens, the first beginning with a letter or
 * digit, the last of letters only; 265 characters at most, of which the first 263 are looked at.
 * Empty labels are passed over; behind one the last label may be any. */
BF_API int32_t OAL_VerifyDomain(const char *text);
/* A directory service's: two to four labels, the whole beginning and ending with a letter, the last
 * label of up to 6 letters; 255 characters at most. Empty labels count as above. */
BF_API int32_t OAL_VerifyDomain_AD(const char *text);

BF_EXTERN_C_END

#endif
