// The two small windows beside the console: the About box ("A propos...")
// and the EEPROM utility ("Utilitaire EEPROM"). Both are non-modal: the
// console stays live while they are open. Their visibility is that of their
// form element; closing one by its title bar hides the form in the model.
#pragma once

#include <QWidget>

#include "gui/binder.h"

namespace brivel::gui {

class FormWindow : public QWidget {
 public:
  FormWindow(Binder& b, Element& form, QWidget* parent);

 protected:
  void closeEvent(QCloseEvent* ev) override;

 private:
  Element& form_;
};

FormWindow* build_about_box(Binder& b, QWidget* parent);
FormWindow* build_eeprom_box(Binder& b, QWidget* parent);

}  // namespace brivel::gui
