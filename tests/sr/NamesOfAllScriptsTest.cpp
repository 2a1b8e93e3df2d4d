#include "tests/sr/InterchangeFixture.h"

namespace tavrel::test {
namespace {

struct Script {
    std::string_view name;
    std::string_view patient; ///< in all its writings
    std::string_view words;
    friend void PrintTo(const Script& script, std::ostream* out) { *out << script.name; }
};

class NamesOfAllScripts : public InterchangeFixture, public testing::WithParamInterface<Script> {};

TEST_P(NamesOfAllScripts, ComeBackFromTheFileAsTheyWere) {
    const std::string patient(GetParam().patient), words(GetParam().words);
    const auto images = station.ImageSeries();
    for (const Attribute& name : {attribute::PatientName, attribute::ReferringPhysicianName})
        images->SetElementString(0, name, patient);
    global.userSignature = patient;
    document.CreateFromDDO(*images, 0);
    document.SetTitle("", "", words, words);
    document.Reading(words + "\r\n" + words);
    document.PutCodedEntries({}, {{"99OGH", "F1", words, words}}, {});

    SendAndRead();

    const auto read = ReadAgain();
    EXPECT_EQ(read.PatientName(), patient);
    EXPECT_EQ(read.ReferringPhysician(), patient);
    EXPECT_EQ(read.Referring()->ObserverName, patient);
    EXPECT_EQ(read.Reading(), words + "\r\n" + words);
    EXPECT_EQ(read.Findings().front(), (ContentNode{"99OGH", "F1", words, words}));
}

INSTANTIATE_TEST_SUITE_P(
    , NamesOfAllScripts,
    testing::Values(
        Script{"Arabic", "قباني^لنزار", "صورة الصدر بالأشعة"}, Script{"French", "Buc^Jérôme", "Épanchement"},
        Script{"German", "Äneas^Rüdiger", "Größe 5 µm, kein Erguß"},
        Script{"Greek", "Διονυσιος", "Ακτινογραφία θώρακος"},
        Script{"Japanese", "Yamada^Tarou=山田^太郎=やまだ^たろう", "胸部X線写真"},
        Script{"HalfWidthKatakana", "ﾔﾏﾀﾞ^ﾀﾛｳ=山田^太郎=やまだ^たろう", "胸部ﾚﾝﾄｹﾞﾝ"},
        Script{"Hebrew", "שרון^דבורה", "צילום חזה – 2 מבטים"},
        Script{"Korean", "Hong^Gildong=洪^吉洞=홍^길동", "흉부 엑스선"}, Script{"KoreanAlone", "김희중", "정상"},
        Script{"Russian", "Люкceмбypг", "Рентген грудной клетки"},
        Script{"TraditionalChinese", "Wang^XiaoDong=王^小東", "胸部X光"},
        Script{"SimplifiedChinese", "Wang^XiaoDong=王^小东", "胸部X光片𠀀"},
        Script{"Polish", "Żółć^Łukasz", "Prawidłowy obraz płuc"}, Script{"Thai", "สมชาย^ใจดี", "ภาพรังสีทรวงอก"},
        Script{"Hindi", "शर्मा^राम", "छाती का एक्स-रे"}, Script{"Georgian", "ბერიძე^გიორგი", "გულმკერდის რენტგენი"},
        Script{"Armenian", "Պետրոսյան^Արամ", "Կրծքավանդակ"}, Script{"Vietnamese", "Nguyễn^Thị Ánh", "X-quang ngực"},
        Script{"AsTyped", "Mu\u0308ller^Ju\u0308rgen=\uFA19^\uFA11", "Gro\u0308ße \u212B"}),
    testing::PrintToStringParamName());

} // namespace
} // namespace tavrel::test
