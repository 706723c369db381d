// Ctrl-C as a question that a long job asks itself, so that it can stop in good order. Any thread.
#pragma once

/// From now on the first Ctrl-C ends nothing but is remembered; the second one ends the program at once, as ever. Where
/// whoever started the program has Ctrl-C ignored, it stays ignored.
/// Further calls change nothing.
void CatchInterrupts();

/// True once Ctrl-C was pressed after CatchInterrupts. Cheap enough to be asked for each pack.
bool IsInterrupted();
