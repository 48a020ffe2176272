#include "SpokenSentences.h"

namespace tarn::bench {
namespace {

constexpr SpokenSentence sentences[] = {
    {"awb", "the meeting will begin in ten minutes"},
    {"slt", "please send me the report before the end of the week"},
    {"rms", "we need to talk about the money for next year"},
    {"awb", "she left the keys on the table in the kitchen"},
    {"slt", "the train to the city leaves at seven in the morning"},
    {"rms", "can you tell me where the nearest hospital is"},
    {"awb", "they have been working on this problem for a long time"},
    {"slt", "it was raining when we came home last night"},
    {"rms", "the children are playing in the garden behind the house"},
    {"awb", "i would like to have a cup of coffee and some bread"},
    {"slt", "nobody knows what will happen after the election"},
    {"rms", "my brother is going to buy a new car in the summer"},
    {"awb", "we should leave early because the traffic is bad on friday"},
    {"slt", "the doctor said that he needs to rest for a few days"},
    {"rms", "there is a small shop on the corner that sells fresh fruit"},
    {"awb", "could you open the window please it is very warm in here"},
    {"slt", "the old man told us a long story about the war"},
    {"rms", "i have never seen so many people in this street before"},
    {"awb", "the company will open a new office in the north next month"},
    {"slt", "he forgot to pay the bill and had to go back"},
    {"rms", "my sister works as a teacher in a school near the river"},
    {"awb", "if the weather is good we can walk to the beach tomorrow"},
    {"slt", "the police are looking for a man with a black hat"},
    {"rms", "please turn off the light when you leave the room"},
    {"awb", "they built the bridge more than a hundred years ago"},
    {"slt", "the price of oil has gone up again since last week"},
    {"rms", "i think that we have met before but i forgot your name"},
    {"awb", "she wants to study music at the university in the fall"},
    {"slt", "the last bus to the airport left half an hour ago"},
    {"rms", "do not forget to bring your passport and your ticket"},
    {"awb", "the government has promised to lower the taxes next year"},
    {"slt", "we found a very good restaurant at the end of the road"},
    {"rms", "the dog ran across the field and jumped over the fence"},
};

}  // namespace

std::span<const SpokenSentence> spokenSentences() {
    return sentences;
}

}  // namespace tarn::bench
