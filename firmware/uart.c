#include "uart.h"

#include <avr/interrupt.h>
#include <avr/io.h>

#include "steps.h"

/* 64 bytes: eight frames, more than the program ever sends ahead of a reply. */
#define RX_SIZE 64
static volatile uint8_t rx[RX_SIZE];
static volatile uint8_t rx_head, rx_tail;

void uart_init(void) {
  /* 57600 baud at 16 MHz: double speed, UBRR 34 (2.1 % error, as every
   * Arduino board runs it). */
  UCSR0A = _BV(U2X0);
  UBRR0H = 0;
  UBRR0L = 34;
  UCSR0C = _BV(UCSZ01) | _BV(UCSZ00);
  UCSR0B = _BV(RXEN0) | _BV(TXEN0) | _BV(RXCIE0);
}

volatile uint8_t uart_cancels_seen;

/* The line's last bytes, to know a "ZXxxxxx" frame at its line feed. */
static uint8_t tail[7];
static const uint8_t cancel_frame[7] = {'Z', 'X', 'x', 'x', 'x', 'x', 'x'};

ISR(USART_RX_vect) {
  const uint8_t b = UDR0;
  if (b == '\n') {
    uint8_t i = 0;
    while (i < 7 && tail[i] == cancel_frame[i]) ++i;
    if (i == 7) {
      steps_stop();
      ++uart_cancels_seen;
    }
  }
  for (uint8_t i = 0; i < 6; ++i) tail[i] = tail[i + 1];
  tail[6] = b;
  const uint8_t next = (uint8_t)((rx_head + 1) % RX_SIZE);
  if (next != rx_tail) {
    rx[rx_head] = b;
    rx_head = next;
  }
}

bool uart_get(uint8_t* b) {
  if (rx_tail == rx_head) return false;
  *b = rx[rx_tail];
  rx_tail = (uint8_t)((rx_tail + 1) % RX_SIZE);
  return true;
}

void uart_put(uint8_t b) {
  while (!(UCSR0A & _BV(UDRE0))) {
  }
  UDR0 = b;
}

void uart_write(const char* s, uint8_t n) {
  for (uint8_t i = 0; i < n; ++i) uart_put((uint8_t)s[i]);
}
