#pragma once

class QWidget;

namespace corvane::app {

// The window the program opens on. Until the knowledge-base viewer is wired in, this is a
// skinned window showing the placeholder page.
QWidget *createStartWindow();

} // namespace corvane::app
