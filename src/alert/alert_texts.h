// The texts of an alert mail, UTF-8, put together with the rule's name and the count of lines.
#ifndef SARVIK_ALERT_ALERT_TEXTS_H_
#define SARVIK_ALERT_ALERT_TEXTS_H_

namespace sarvik {

// The subject: this prefix directly followed by the rule's name.
inline constexpr char kAlertSubjectPrefix[] = "サルビク アラート - 条件名:";
// The body opens with these pieces around the name and the count, then the lines follow, each
// with a line feed.
inline constexpr char kAlertBodyBeforeName[] = "アラート条件 ";
inline constexpr char kAlertBodyAfterName[] = ": アクセスを";
inline constexpr char kAlertBodyAfterCount[] = "件検出しました。\n\n";

}  // namespace sarvik

#endif  // SARVIK_ALERT_ALERT_TEXTS_H_
