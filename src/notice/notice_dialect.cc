// The XML dialect spoken with the notification scripts: the filling of its templates.
#include "notice/notice_dialect.h"

namespace sarvik {

std::string fill_template(std::string_view form, std::initializer_list<std::string_view> operands) {
  size_t size = form.size();
  for (std::string_view operand : operands) size += operand.size();
  std::string text;
  text.reserve(size);
  const std::string_view* next = operands.begin();
  for (size_t i = 0; i < form.size(); ++i) {
    if (form[i] == '%' && i + 1 < form.size() && (form[i + 1] == 's' || form[i + 1] == 'd')) {
      if (next != operands.end()) text.append(*next++);
      ++i;
    } else {
      text += form[i];
    }
  }
  return text;
}

}  // namespace sarvik
