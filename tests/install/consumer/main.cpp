// An outside program that uses the installed headers and libraries.
#include <orv/common/guid/GUID.h>
#include <orv/dataformats/StringAppendConsumer.h>
#include <orv/dataformats/data/Object.h>
#include <orv/dataformats/data/String.h>
#include <orv/dataformats/json/Writer.h>

#include <iostream>
#include <string>

int main() {
    orv::common::guid::GUID id;
    if (!orv::common::guid::GUID::parse("00112233-4455-6677-8899-aabbccddeeff", id)) {
        return 1;
    }
    orv::dataformats::data::Object object;
    object.setNew("id", new orv::dataformats::data::String(id.toString()));
    std::string json;
    orv::dataformats::StringAppendConsumer consumer(json);
    orv::dataformats::json::Writer writer(consumer);
    writer.visit(&object);
    if (json != "{\"id\":\"00112233-4455-6677-8899-aabbccddeeff\"}") {
        std::cerr << "unexpected JSON: " << json << '\n';
        return 1;
    }
    std::cout << "consumer ok\n";
    return 0;
}
