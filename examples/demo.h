// The demo host program's sections, one per family of the library; main runs them in order.
#ifndef MLIB_EXAMPLES_DEMO_H
#define MLIB_EXAMPLES_DEMO_H

#include <mlib/config.h>

#include <string>

// UTF-8 text of wide text, for printing to the terminal.
std::string demoUtf8(const mlib::WideChar* text);

void demoText();
void demoString();
void demoSearch();
void demoByte();
void demoContainer();
void demoException();
void demoFile();
void demoNet();

#endif  // MLIB_EXAMPLES_DEMO_H
