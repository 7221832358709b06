// Infrared codes in the GlobalCache list form, turned into the Pronto words that the API server takes.
#pragma once

// Reads in ("frequency,repeat,offset,on,off,on,off,...", decimal) and writes Pronto words to out, "%04x " each, never
// more than size bytes with the terminating zero. Returns the length of the text without its trailing blank, or -1 for
// a list that is no code or a buffer without room; out then is left alone, or empty when it is the room that lacks.
// Any thread.
int App_GlobalCache_To_Pronto(const char* in, char* out, int size);
