/* The serial line at 57600 baud, 8N1: bytes received by interrupt into a
 * ring buffer, so that none is lost while a motor steps. */
#ifndef BRIVEL_UART_H
#define BRIVEL_UART_H

#include <stdbool.h>
#include <stdint.h>

void uart_init(void);
/* True and the oldest byte in *b when one waits. */
bool uart_get(uint8_t* b);
void uart_put(uint8_t b);
void uart_write(const char* s, uint8_t n);

/* "ZXxxxxx" frames whose line feed the receive interrupt has seen. The
 * interrupt stops any move the moment one comes (steps_stop), as the frame
 * must act at once; the main loop still reads the frame in its turn. A
 * command is cancelled while more have come than the main loop has read. */
extern volatile uint8_t uart_cancels_seen;

#endif
