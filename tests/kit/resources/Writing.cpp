// SPDX-License-Identifier: MIT
#include "kit/resources/Writing.h"

#include <algorithm>
#include <stdexcept>

namespace lightpen {

namespace {

// Each character of the one stands below its like of the other, and neither is used in the other's country.
const char16_t* const kTraditional = u"語說開關閉請確認偵測圍環線過強導無蓋結選單簡體義蘭韓羅烏鏡攝"
                                     u"機裝連傳輸畫臨遠動標聲電腦視顯設備筆檔號點擊燈學實應當數據處"
                                     u"變換網頁鍵檢驗錯誤訊記錄讀寫圖條與為這個們來時間對從進還現發"
                                     u"會長門問題東車馬鳥魚貝見風飛書買賣樂愛氣業種節習觀讓調試總許"
                                     u"識該談議計論話誰詳細級紅約紙統組終經絡維綠緩繼續轉輪輯辦農鄰"
                                     u"醫錢鐘鐵鎖閃闊隊陽階際隨隱雙雜難靈靜預領類順須頭額願顧飯館驚"
                                     u"齊龍濾擋亂壓螢擴縮樣構啟產廣庫歸滅濃獨瀏覽釋鈕麗齡飄";
const char16_t* const kSimplified = u"语说开关闭请确认侦测围环线过强导无盖结选单简体义兰韩罗乌镜摄"
                                    u"机装连传输画临远动标声电脑视显设备笔档号点击灯学实应当数据处"
                                    u"变换网页键检验错误讯记录读写图条与为这个们来时间对从进还现发"
                                    u"会长门问题东车马鸟鱼贝见风飞书买卖乐爱气业种节习观让调试总许"
                                    u"识该谈议计论话谁详细级红约纸统组终经络维绿缓继续转轮辑办农邻"
                                    u"医钱钟铁锁闪阔队阳阶际随隐双杂难灵静预领类顺须头额愿顾饭馆惊"
                                    u"齐龙滤挡乱压萤扩缩样构启产广库归灭浓独浏览释钮丽龄飘";

std::vector<Writing> allWritings() {
    using enum QChar::Script;
    const std::vector<QChar::Script> latin{Script_Latin};
    return {
        {"en", latin, {}, {}, {}},
        {"de", latin, QString::fromUtf16(u"äöüß"), {}, {"OK", "Version %1"}},
        {"fr", latin, QString::fromUtf16(u"àâæçèéêëîïôœùûüÿ"), {}, {"OK", "Version %1"}},
        {"es", latin, QString::fromUtf16(u"áéíñóúü"), {}, {}},
        {"it", latin, QString::fromUtf16(u"àèéìòù"), {}, {"Debug", "OK"}},
        {"pt", latin, QString::fromUtf16(u"áâãàçéêíóôõú"), {}, {"OK"}},
        {"nl", latin, QString::fromUtf16(u"áéëïóöü"), {}, {"Help", "OK", "Thai"}},
        {"sv", latin, QString::fromUtf16(u"åäöé"), {}, {"OK", "Version %1"}},
        {"pl", latin, QString::fromUtf16(u"ąćęłńóśźż"), {}, {"OK"}},
        {"zh-Hant", {Script_Han}, {}, QString::fromUtf16(kSimplified), {}},
        {"zh-Hans", {Script_Han}, {}, QString::fromUtf16(kTraditional), {}},
        {"ko", {Script_Hangul}, {}, {}, {}},
        {"ja", {Script_Han, Script_Hiragana, Script_Katakana}, {}, {}, {"OK"}},
        {"th", {Script_Thai}, {}, {}, {}},
        {"ru", {Script_Cyrillic}, {}, QString::fromUtf16(u"іїєґ"), {}},
        {"uk", {Script_Cyrillic}, {}, QString::fromUtf16(u"ыэъё"), {}},
    };
}

} // namespace

const Writing& writingOf(const std::string& identifier) {
    static const std::vector<Writing> writings = allWritings();
    const auto writing = std::ranges::find(writings, identifier, &Writing::identifier);
    if (writing == writings.end())
        throw std::out_of_range("no such language: " + identifier);
    return *writing;
}

} // namespace lightpen
